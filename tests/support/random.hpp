// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>

namespace kiptest {

// A small seeded generator (splitmix64) whose numbers are the same with every compiler.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  // An independent sequence for the index-th case of a seeded run.
  Random(uint64_t seed, uint64_t index) : state_(seed * 0x9E3779B97F4A7C15u + index * 0xD1B54A32D192ED03u) { next(); }

  uint64_t next() {
    uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // In [low, high].
  int32_t between(int32_t low, int32_t high) {
    return low + static_cast<int32_t>(next() % static_cast<uint64_t>(int64_t{high} - low + 1));
  }
  bool chance(int32_t oneIn) { return between(1, oneIn) == 1; }
  template <typename T>
  T pick(std::initializer_list<T> choices) {
    return choices.begin()[next() % choices.size()];
  }

 private:
  uint64_t state_;
};

}  // namespace kiptest
