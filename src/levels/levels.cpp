// SPDX-License-Identifier: Apache-2.0
#include "levels/levels.hpp"

namespace kip {

#define KIP_KERNELS_OF(set)                          \
  namespace set {                                    \
  extern const FixedPointKernel fixedPointRows;      \
  extern const ExactKernel exactRows;                \
  extern const SmallSigmaKernel<Sigma1Group> sigma1; \
  extern const SmallSigmaKernel<Sigma2Row> sigma2;   \
  extern const MaskedRowsKernel maskedRows;          \
  extern const MaskedSigma1Kernel maskedSigma1;      \
  extern const RowKernels<uint8_t> binomialRows8;    \
  extern const RowKernels<uint16_t> binomialRows16;  \
  }
KIP_KERNELS_OF(sse2)
KIP_KERNELS_OF(avx2)

namespace {

constexpr Level table[] = {
#ifdef KIP_LANES_avx2
    {.number = 2,
     .exact = {ksys_cpuMmxSse2 | ksys_cpuAvx2, &avx2::exactRows},
     .sigma1 = &avx2::sigma1,
     .sigma2 = &avx2::sigma2,
     .masked = {ksys_cpuMmxSse2 | ksys_cpuAvx2, &avx2::maskedRows},
     .maskedSigma1 = &avx2::maskedSigma1,
     .binomial8 = {ksys_cpuSse2Integer | ksys_cpuAvx2, &avx2::binomialRows8},
     .binomial16 = {ksys_cpuSse41 | ksys_cpuAvx2, &avx2::binomialRows16}},
#endif
#ifdef KIP_LANES_sse2
    {.number = 1,
     .fixedPoint = {ksys_cpuMmxSse2, &sse2::fixedPointRows},
     .masked = {ksys_cpuMmxSse2, &sse2::maskedRows},
     .binomial8 = {ksys_cpuSse2Integer, &sse2::binomialRows8},
     .binomial16 = {ksys_cpuSse41, &sse2::binomialRows16}},
#endif
    {.number = 0},
};

}  // namespace

std::span<const Level> levels() {
  return table;
}

}  // namespace kip
