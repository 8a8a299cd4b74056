// SPDX-License-Identifier: Apache-2.0
// OpenCV's ways to smooth like the library: a Gaussian of the same extent and standard deviation, and three boxes.
#pragma once

#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>

namespace kipbench {

using Filter = void (*)(const cv::Mat& from, cv::Mat& to, int32_t sigma);

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

}  // namespace kipbench
