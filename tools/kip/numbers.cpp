// SPDX-License-Identifier: Apache-2.0
#include "numbers.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>
#include <vector>

#include "error.hpp"
#include "kip/cpp/stddev.hpp"

namespace kip::tool {
namespace {

[[noreturn]] void refuse(const std::string& option, const std::string& text, const std::string& expected) {
  throw UsageError(option + " " + text + ": " + expected);
}

template <typename Number>
bool parseAll(const std::string& text, Number& value) {
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && rest == end;
}

// The numbers between the commas; none at all when one is no number.
template <typename Number>
std::vector<Number> parseList(const std::string& text) {
  std::vector<Number> numbers;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find(',', begin), text.size());
    if (Number number = 0; parseAll(text.substr(begin, end - begin), number)) {
      numbers.push_back(number);
    } else {
      return {};
    }
    begin = end + 1;
  }
  return numbers;
}

void refuseOutside(const std::string& option, const std::string& text, int32_t number, int32_t least, int32_t most) {
  if (number >= least && number <= most) return;
  refuse(option, text, "must lie in " + std::to_string(least) + " to " + std::to_string(most));
}

}  // namespace

std::array<int32_t, 2> parsePair(const std::string& option, const std::string& text, int32_t least) {
  const std::vector<int32_t> numbers = parseList<int32_t>(text);
  if (numbers.empty() || numbers.size() > 2) refuse(option, text, "one whole number or two with a comma are expected");
  for (const int32_t number : numbers) refuseOutside(option, text, number, least, kMaxPairValue);
  return {numbers.front(), numbers.back()};
}

std::array<int32_t, 2> parseStddev(const std::string& option, const std::string& text) {
  std::vector<int32_t> sigmas;
  for (const double number : parseList<double>(text)) {
    int32_t& sigma = sigmas.emplace_back(-1);
    const bool isInRange = try_stddev(number, sigma) >= 0 && sigma < kMaxPairValue;
    if (!isInRange) refuse(option, text, "must lie in 0 to " + std::to_string(kMaxPairValue / 2));
  }
  if (sigmas.empty() || sigmas.size() > 2) refuse(option, text, "one number or two with a comma are expected");
  return {sigmas.front(), sigmas.back()};
}

int32_t parseCount(const std::string& option, const std::string& text, int32_t least, int32_t most) {
  int32_t number = 0;
  if (!parseAll(text, number)) refuse(option, text, "a whole number is expected");
  refuseOutside(option, text, number, least, most);
  return number;
}

std::array<int32_t, 4> parseRectangle(const std::string& option, const std::string& text) {
  const std::vector<int32_t> numbers = parseList<int32_t>(text);
  if (numbers.size() != 4) refuse(option, text, "four whole numbers X,Y,W,H are expected");
  if (numbers[0] < 0 || numbers[1] < 0) refuse(option, text, "X and Y must be 0 or more");
  if (numbers[2] < 1 || numbers[3] < 1) refuse(option, text, "W and H must be 1 or more");
  return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

int64_t parseBytes(const std::string& option, const std::string& text) {
  constexpr std::string_view units = "KMG";
  const size_t unit = text.empty() ? std::string_view::npos : units.find(text.back());
  const bool hasUnit = unit != std::string_view::npos;
  const int shift = hasUnit ? 10 * static_cast<int>(unit + 1) : 0;
  int64_t number = 0;
  if (!parseAll(text.substr(0, text.size() - (hasUnit ? 1 : 0)), number)) {
    refuse(option, text, "a whole number of bytes is expected, or of K, M or G, such as 256M");
  }
  if (number < 1 || number > INT64_MAX >> shift) refuse(option, text, "is out of range");
  return number << shift;
}

double parsePositive(const std::string& option, const std::string& text) {
  double value = 0;
  if (!parseAll(text, value) || !std::isfinite(value)) refuse(option, text, "a number is expected");
  if (!(value > 0)) refuse(option, text, "must be above 0");
  return value;
}

double parseFraction(const std::string& option, const std::string& text) {
  double value = 0;
  if (!parseAll(text, value) || !(value >= 0 && value <= 1)) refuse(option, text, "a number from 0 to 1 is expected");
  return value;
}

}  // namespace kip::tool
