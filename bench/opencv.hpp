// SPDX-License-Identifier: Apache-2.0
// OpenCV's ways to do the library's work: the same extent, border and depth, on the shared pictures.
#pragma once

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "calls.hpp"

namespace kipbench {

[[maybe_unused]] inline const bool described = [] {
  benchmark::AddCustomContext("opencv", CV_VERSION);
  benchmark::AddCustomContext("compiler", KIP_COMPILER);
  return true;
}();

using Filter = void (*)(const cv::Mat& from, cv::Mat& to, int32_t sigma);

// A Gaussian of the kernel's extent and standard deviation.
inline void gaussian(const cv::Mat& from, cv::Mat& to, int32_t sigma) {
  const int32_t box = sigma + 1;
  const int32_t extent = (3 * sigma + 1) | 1;
  const double deviation = std::sqrt(3.0 * (box * box - 1) / 12.0);
  cv::GaussianBlur(from, to, {extent, extent}, deviation, deviation, cv::BORDER_REFLECT);
}

inline void boxes(const cv::Mat& from, cv::Mat& to, int32_t sigma) {
  const cv::Size box(sigma + 1, sigma + 1);
  cv::blur(from, to, box, {-1, -1}, cv::BORDER_REFLECT);
  cv::blur(to, to, box, {-1, -1}, cv::BORDER_REFLECT);
  cv::blur(to, to, box, {-1, -1}, cv::BORDER_REFLECT);
}

template <Pass Which>
void binomial(const cv::Mat& from, cv::Mat& to, int32_t) {
  if constexpr (Which == Pass::reduction) {
    cv::pyrDown(from, to, {from.cols / 2, from.rows / 2}, cv::BORDER_REPLICATE);
  } else {
    cv::GaussianBlur(from, to, {Which == Pass::columns ? 1 : 5, Which == Pass::rows ? 1 : 5}, 0, 0,
                     cv::BORDER_REPLICATE);
  }
}

template <Pass Which>
void binomialWeights(const cv::Mat& from, cv::Mat& to, int32_t) {
  const cv::Mat one = (cv::Mat_<float>(1, 1) << 1);
  const cv::Mat five = (cv::Mat_<float>(1, 5) << 0.0625F, 0.25F, 0.375F, 0.25F, 0.0625F);
  cv::sepFilter2D(from, to, -1, Which == Pass::columns ? one : five, Which == Pass::rows ? one : five, {-1, -1}, 0,
                  cv::BORDER_REPLICATE);
}

template <typename Pixel>
cv::Mat matOn(const Image<Pixel>& image) {
  return {image.image.height, image.image.width, sizeof(Pixel) == 1 ? CV_8U : CV_16U, image.row(0),
          static_cast<size_t>(image.image.stride) * sizeof(Pixel)};
}

struct PeerRow {
  Size size;
  int32_t sigma = 0, sample = 1, threads = 1;
  int32_t divisor = sample;  // of the result's size: a filter may reduce by itself
};

template <typename From, typename To>
class Peer {
 public:
  explicit Peer(const PeerRow& row)
      : row_(row),
        from_(matOn(shared<From>(noise, row.size))),
        mask_(matOn(shared<uint8_t>(validity, row.size))),
        to_(matOn(shared<To>(peerResult, row.size.dividedBy(row.divisor)))),
        toMask_(matOn(shared<uint8_t>(peerMask, row.size.dividedBy(row.divisor)))) {
    cv::setNumThreads(row.threads);
  }

  // The filter in the result's depth.
  void plain(Filter filter) {
    constexpr bool widens = sizeof(From) != sizeof(To);
    if constexpr (widens) from_.convertTo(values_, to_.type(), gain<From, To>);
    filter(widens ? values_ : from_, row_.sample == 1 ? to_ : result_, row_.sigma);
    if (row_.sample != 1) cv::resize(result_, to_, to_.size(), 0, 0, cv::INTER_NEAREST);
  }
  // The filter in floats.
  void inFloats(Filter filter) {
    from_.convertTo(values_, CV_32F);
    filter(values_, result_, row_.sigma);
    if (row_.sample != 1) cv::resize(result_, sampled_, to_.size(), 0, 0, cv::INTER_NEAREST);
    (row_.sample == 1 ? result_ : sampled_).convertTo(to_, to_.type(), gain<From, To>);
  }
  // With masks: the blurred product of picture and mask over the blurred mask, in floats.
  void masked(Filter filter, bool wantsMask) {
    from_.convertTo(values_, CV_32F);
    mask_.convertTo(weights_, CV_32F, 1.0 / 255);
    cv::multiply(values_, weights_, values_);
    filter(values_, result_, row_.sigma);
    filter(weights_, resultWeights_, row_.sigma);
    cv::divide(result_, resultWeights_, result_);
    result_.convertTo(to_, to_.type(), gain<From, To>);
    if (wantsMask) resultWeights_.convertTo(toMask_, CV_8U, 255);
  }

 private:
  PeerRow row_;
  cv::Mat from_, mask_, to_, toMask_, values_, weights_, result_, resultWeights_, sampled_;
};

// `work` is done with a Peer<From, To>. With a call, says by how much the peer's pixels differ from the call's.
template <typename From, typename To>
void addPeer(const std::string& name, const PeerRow& row, auto work, auto... makeCall) {
  addRow(name, [=](benchmark::State& state) {
    Peer<From, To> peer(row);
    work(peer);
    measure(state, row.size, [&] { work(peer); });
    if constexpr (sizeof...(makeCall) != 0) {
      if ((makeCall()() + ...) != 0) state.SkipWithError("failed");
      const Size size = row.size.dividedBy(row.divisor);
      state.counters["difference"] = shared<To>(peerResult, size).differenceFrom(shared<To>(ownResult, size));
    }
  });
}

}  // namespace kipbench
