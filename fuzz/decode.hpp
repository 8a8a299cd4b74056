// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

#include "request.hpp"

namespace kiptest {

// Every sequence of bytes is a request without programming errors. `hostile`: parameters and positions that must be
// refused come along.
Request decode(std::span<const uint8_t> bytes, bool hostile);

// The index-th of a seeded run.
Request drawRequest(uint64_t seed, uint64_t index, bool hostile);

}  // namespace kiptest
