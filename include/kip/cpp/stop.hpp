// SPDX-License-Identifier: Apache-2.0
// Stopping calls that run. Begin at kip::stop_when.
#pragma once

#include <concepts>
#include <utility>

#include "error.hpp"

namespace kip {

// While it lives, the calls of its thread ask it time and again, every 64 to 1024 rows, and stop once it answers true:
// with kip::cancelled, or KSYS_STATUS_CANCELLED from the forms named try_. Rows written by then stay written.
//
//   std::jthread worker([&](std::stop_token token) {
//     const kip::stop_when stop([&] { return token.stop_requested(); });
//     result = kip::smooth(picture, {.x_sigma = 40, .y_sigma = 40});
//   });
//
// Not asked, so that they run to their end: smoothing with a mask, result masks, smoothing of 16-bit images, and
// smoothing at processor level 1.
//
// `asked` must not throw. Inside another one, also that of the host's ksys_attention_setHandler, both are asked; it
// ends before the other one, in the thread where it began.
template <std::predicate Asked>
class [[nodiscard]] stop_when {
 public:
  explicit stop_when(Asked asked) : asked_(std::move(asked)) {
    ksys_attention_getHandler(&outer_, &outer_context_);
    ksys_attention_setHandler(answer, this);
  }
  ~stop_when() { ksys_attention_setHandler(outer_, outer_context_); }
  stop_when(const stop_when&) = delete;
  stop_when& operator=(const stop_when&) = delete;

 private:
  static ksys_status answer(void* self) noexcept {
    auto& scope = *static_cast<stop_when*>(self);
    if (scope.asked_()) return KSYS_STATUS_CANCELLED;
    return scope.outer_ != nullptr ? scope.outer_(scope.outer_context_) : 0;
  }

  Asked asked_;
  ksys_attentionHandler outer_ = nullptr;
  void* outer_context_ = nullptr;
};

}  // namespace kip
