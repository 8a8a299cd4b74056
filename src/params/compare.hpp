// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kip {

// Equality of fields that validation rejects when they are not a number: such a value equals anything.
[[nodiscard]] constexpr bool neitherBelow(double a, double b) {
  return !(a < b) && !(b < a);
}

}  // namespace kip
