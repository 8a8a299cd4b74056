// SPDX-License-Identifier: Apache-2.0
#include "kip/host/ksys.h"

namespace {

thread_local ksys_attentionHandler handler = nullptr;
thread_local void* handlerContext = nullptr;

}  // namespace

ksys_status ksys_attention_check(void) {
  return handler != nullptr ? handler(handlerContext) : 0;
}

void ksys_attention_setHandler(ksys_attentionHandler function, void* context) {
  handler = function;
  handlerContext = context;
}

void ksys_attention_getHandler(ksys_attentionHandler* function, void** context) {
  *function = handler;
  *context = handlerContext;
}
