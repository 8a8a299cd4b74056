// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bands.hpp"
#include "smooth_request.hpp"

namespace kip::tool {

// A request on its sources. Failures throw Error.
class Smoothing {
 public:
  // All of these must outlive it.
  Smoothing(const SmoothRequest& request, const SmoothArguments& arguments, const Sources& sources);

  // The number of the result's top-left pixel, and what the result measures.
  int32_t x() const { return result_.x; }
  int32_t y() const { return result_.y; }
  PictureSize size() const { return {result_.width, result_.height, depth_}; }

  BandRule rule() const;
  // Makes the masks binary first.
  BandResult smooth(SourcePictures& source, Rows sourceRows, Rows band);

  // Of all calls of the library so far.
  double milliseconds() const { return milliseconds_; }
  // That served the last band; known when the arguments ask for it.
  const std::string& engine() const { return engine_; }

 private:
  int32_t threads() const;

  const SmoothRequest& request_;
  const SmoothArguments& arguments_;
  const Sources& sources_;
  int32_t depth_;
  rect result_;
  double milliseconds_ = 0;
  std::string engine_;
};

}  // namespace kip::tool
