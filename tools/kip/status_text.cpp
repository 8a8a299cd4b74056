// SPDX-License-Identifier: Apache-2.0
#include "status_text.hpp"

#include <cinttypes>
#include <cstdio>

#include "kip/params.h"

namespace kip::tool {
namespace {

struct Meaning {
  ksys_status status;
  const char* text;
};

constexpr Meaning kMeanings[] = {
    {KIP_STATUS_BAD_SAMPLE, "a sample factor is below 1"},
    {KIP_STATUS_BAD_SIGMA, "a sigma is negative or too large for this picture"},
    {KIP_STATUS_BAD_SCALE, "the scale is not above 0, or too small or too large for single precision"},
    {KIP_STATUS_NOT_BOUND, "an image has no pixels"},
    {KIP_STATUS_SAME_PIXELS, "source and destination begin at the same pixel"},
    {KSYS_STATUS_MEMORY_OVERLAP, "source and destination share pixels"},
    {KSYS_STATUS_NO_MEMORY, "not enough memory"},
    {KSYS_STATUS_BAD_ARGUMENT, "a size or position is out of range"},
    {KSYS_STATUS_OUTSIDE_IMAGE, "a rectangle does not lie inside the picture"},
    {KSYS_STATUS_NOT_INVERTIBLE, "a transform has no inverse"},
};

}  // namespace

std::string statusText(ksys_status status) {
  const char* text = "the library failed";
  for (const Meaning& meaning : kMeanings) {
    if (meaning.status == status) text = meaning.text;
  }
  char code[24];
  std::snprintf(code, sizeof code, " (status 0x%08" PRIX32 ")", static_cast<uint32_t>(status));
  return std::string(text) + code;
}

}  // namespace kip::tool
