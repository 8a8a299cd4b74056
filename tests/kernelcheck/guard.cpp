// SPDX-License-Identifier: Apache-2.0
#include <csetjmp>
#include <csignal>

#include "kernelcheck/row.hpp"
#include "kip/host/kstd.h"

namespace kernelcheck {

namespace {

sigjmp_buf leave;

void leaveWith(Fault fault) {
  siglongjmp(leave, static_cast<int>(fault));
}

}  // namespace

Fault runGuarded(const std::function<void()>& call) {
  struct sigaction action = {};
  struct sigaction before = {};
  action.sa_handler = [](int) { leaveWith(Fault::guardPage); };
  sigaction(SIGSEGV, &action, &before);
  kstd_assert_setHandler([](int32_t) { leaveWith(Fault::failedCheck); });
  const int left = sigsetjmp(leave, 1);
  if (left == 0) call();
  kstd_assert_setHandler(nullptr);
  sigaction(SIGSEGV, &before, nullptr);
  return static_cast<Fault>(left);
}

Verdict verdictOn(Fault fault) {
  if (fault == Fault::guardPage) return {fault, "touched memory outside the pictures"};
  if (fault == Fault::failedCheck) return {fault, "failed an argument check"};
  return {};
}

}  // namespace kernelcheck
