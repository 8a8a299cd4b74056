// SPDX-License-Identifier: Apache-2.0
// Failures: a status, what it means, and the exception that carries both. Begin at kip::error.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>

#include "../masked.h"

namespace kip {

// What a status means, in a few words; the text is never released.
inline const char* status_text(ksys_status status) noexcept {
  switch (status) {
    case KIP_STATUS_BAD_SAMPLE:
      return "a sample factor is below 1";
    case KIP_STATUS_BAD_SIGMA:
      return "a sigma is negative or too large for this image";
    case KIP_STATUS_BAD_SCALE:
      return "the scale is not above 0, or too small or too large for single precision";
    case KIP_STATUS_NOT_BOUND:
      return "an image has no pixels";
    case KIP_STATUS_SAME_PIXELS:
    case KSYS_STATUS_MEMORY_OVERLAP:
      return "a destination shares pixels with another image of the call";
    case KIP_STATUS_BAD_MIN_COVERAGE:
      return "the minimal coverage is outside 0 to 1";
    case KIP_STATUS_MASK_MISMATCH:
      return "a mask does not have the size of its image";
    case KSYS_STATUS_NO_MEMORY:
      return "not enough memory";
    case KSYS_STATUS_BAD_ARGUMENT:
      return "a size, position, stride or pointer is out of range";
    case KSYS_STATUS_OUTSIDE_IMAGE:
      return "a rectangle does not lie inside the image";
    case KSYS_STATUS_CANCELLED:
      return "the call was cancelled";
    default:
      return status < 0 ? "the library failed" : "success";
  }
}

// A failure. what() says what it means, in words and with the status's number.
class error : public std::runtime_error {
 public:
  explicit error(ksys_status status) : error(status, status_text(status)) {}
  error(ksys_status status, const std::string& meaning)
      : std::runtime_error(meaning + number(status)), status_(status) {}

  [[nodiscard]] ksys_status status() const noexcept { return status_; }

 private:
  static std::string number(ksys_status status) {
    char text[32];
    std::snprintf(text, sizeof text, " (status 0x%08X)", static_cast<unsigned>(status));
    return text;
  }

  ksys_status status_;
};

// A call that was asked to stop (stop.hpp).
class cancelled : public error {
 public:
  cancelled() : error(KSYS_STATUS_CANCELLED) {}
};

namespace detail {

inline void check(ksys_status status) {
  if (status == KSYS_STATUS_CANCELLED) throw cancelled();
  if (status < 0) throw error(status);
}

}  // namespace detail

}  // namespace kip
