// SPDX-License-Identifier: Apache-2.0
#include "kernelcheck/reduce_check.hpp"

namespace kernelcheck {

namespace {

using namespace kiptest;
using Call = kip::KernelCall<uint8_t>;

volatile uint8_t sink;

ksys_status portable(const Call& call) {
  return kip::smoothing<uint8_t, true>(kip::Axes::x).portable(call);
}

// A correct result, then damage.
template <auto Damage>
ksys_status broken(const Call& call) {
  const ksys_status status = portable(call);
  if (status == 0 && call.dstMask != nullptr) Damage(call);
  return status;
}

constexpr struct {
  const char* name;
  Fault expected;
  kip::Kernel<uint8_t>* kernel;
  bool served;  // stands in for a hook
} brokenKernels[] = {
    {"masked: another pixel", Fault::pixels, broken<[](const Call& c) { c.dst[c.width - 1] ^= 1; }>, false},
    {"masked: another result mask", Fault::pixels, broken<[](const Call& c) { c.dstMask[c.width - 1] ^= 1; }>, false},
    {"masked: integers, no quotients", Fault::pixels, portable, true},
    {"masked: stores past the row", Fault::wroteOutside, broken<[](const Call& c) { c.dst[c.width] = 77; }>, false},
    {"masked: stores past its mask", Fault::wroteOutside, broken<[](const Call& c) { c.dstMask[c.width] = 77; }>,
     false},
    {"masked: writes to the mask", Fault::wroteOutside,
     broken<[](const Call& c) { ++const_cast<uint8_t*>(c.srcMask)[0]; }>, false},
    {"masked: reads past the mask", Fault::guardPage,
     broken<[](const Call& c) { sink = c.srcMaskRow(c.height - 1)[c.width]; }>, false},
    {"masked: reads before the mask", Fault::guardPage, broken<[](const Call& c) { sink = c.srcMask[-1]; }>, false},
    {"masked: refuses", Fault::status, [](const Call&) { return KSYS_STATUS(0x80000601); }, false},
};

}  // namespace

bool selfTestReduce(uint64_t seed) {
  const KernelRow<uint8_t> row = {"", {}, {true, false}, true};
  bool allCaught = true;
  for (const auto& one : brokenKernels) {
    allCaught &= catches(one.name, one.expected, reduceCases, [&](int32_t index) {
      return checkReduce(drawReduceCase<uint8_t>(drawReduceShape(seed, index, true, false), true), row, one.kernel,
                         {"", 0, 0}, one.served);
    });
  }
  return allCaught;
}

}  // namespace kernelcheck
