// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kip::tool {

// Sigmas and sample factors beyond the longest side of a picture serve nobody.
constexpr int32_t kMaxPairValue = 1'000'000;

// Values of options, taken strictly: digits and commas, nothing left over. Throw UsageError with the option's name.

// "X,Y", or "N" for both; whole numbers from `least` to kMaxPairValue.
std::array<int32_t, 2> parsePair(const std::string& option, const std::string& text, int32_t least);
// "X,Y", or "D" for both: the sigmas whose kernels come nearest to these standard deviations, up to kMaxPairValue.
std::array<int32_t, 2> parseStddev(const std::string& option, const std::string& text);
// "X,Y,W,H": X and Y at least 0, W and H at least 1.
std::array<int32_t, 4> parseRectangle(const std::string& option, const std::string& text);
// One whole number from `least` to `most`.
int32_t parseCount(const std::string& option, const std::string& text, int32_t least, int32_t most);
// "256M": a whole number above 0 of bytes, or of K, M or G (2^10, 2^20, 2^30) bytes; below 2^63.
int64_t parseBytes(const std::string& option, const std::string& text);
// A finite number above 0.
double parsePositive(const std::string& option, const std::string& text);
// A number from 0 to 1.
double parseFraction(const std::string& option, const std::string& text);

}  // namespace kip::tool
