// SPDX-License-Identifier: Apache-2.0
#include "message.hpp"

#include <cstdint>
#include <cstdio>
#include <string_view>

namespace kip::tool {
namespace {

struct Character {
  uint32_t code;
  size_t length;  // in bytes; 0: not UTF-8
};

Character firstOf(std::string_view text) {
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<uint8_t>(text[i]) : uint32_t{0}; };
  const uint32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (length == 0) return {0, 0};
  uint32_t code = lead & (0x7Fu >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {0, 0};
    code = code << 6 | (byte(i) & 0x3F);
  }
  constexpr uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  return code < least[length] || code > 0x10FFFF || isSurrogate ? Character{0, 0} : Character{code, length};
}

bool isHarmless(uint32_t code) {
  struct Range {
    uint32_t first, last;
  };
  constexpr Range harmful[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x061C, 0x061C},
                               {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  for (const Range& range : harmful) {
    if (code >= range.first && code <= range.last) return false;
  }
  return true;
}

}  // namespace

std::string printable(const std::string& text) {
  std::string clean;
  for (std::string_view rest = text; !rest.empty();) {
    const auto [code, length] = firstOf(rest);
    if (length != 0 && isHarmless(code)) {
      clean += rest.substr(0, length);
    } else {
      clean += '?';
    }
    rest.remove_prefix(length != 0 ? length : 1);
  }
  return clean;
}

void say(const std::string& text) {
  std::fprintf(stderr, "kip: %s\n", printable(text).c_str());
}

}  // namespace kip::tool
