// SPDX-License-Identifier: Apache-2.0
#include "binomial/dest_rect.hpp"

#include "frame/check.hpp"
#include "kip/gauss2.h"

namespace kip {

namespace {

ksys_status getDestRect(const kstd_rect32* src, kstd_rect32* dst, bool xFlag, bool yFlag) {
  check(src != nullptr && dst != nullptr);
  *dst = gauss2_destRect(*src, xFlag, yFlag);
  return 0;
}

}  // namespace

}  // namespace kip

ksys_status kip_gauss2GetDestRect(const kstd_rect32* src, kstd_rect32* dst) {
  return kip::getDestRect(src, dst, true, true);
}

ksys_status kip_gauss2XGetDestRect(const kstd_rect32* src, kstd_rect32* dst) {
  return kip::getDestRect(src, dst, true, false);
}

ksys_status kip_gauss2YGetDestRect(const kstd_rect32* src, kstd_rect32* dst) {
  return kip::getDestRect(src, dst, false, true);
}

ksys_status kip_gauss2NoSampleGetDestRect(const kstd_rect32* src, kstd_rect32* dst) {
  return kip::getDestRect(src, dst, false, false);
}
