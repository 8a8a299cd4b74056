// SPDX-License-Identifier: Apache-2.0
// kipgauss for C++20: header-only over the C interface (kip.h). Link with libkipgauss and libkiphost. Begin at
// kip::smooth in cpp/smooth.hpp; gauss.h, masked.h and gauss2.h define the pixels.
//
//   kip::view<Pixel>     pixels in the caller's memory        kip::image<Pixel>   pixels of its own
//   kip::smooth, kip::smooth_masked, kip::result_mask         Gaussian smoothing, with down-sampling and masks
//   kip::stddev, kip::stddev_of                               a sigma by its standard deviation, and back
//   kip::reduce, kip::pyramid, kip::binomial                  the kernel 1 4 6 4 1, with and without masks
//   kip::smoothing_parts, kip::reduction_parts                how pictures are cut without a change of pixels
//   kip::stop_when                                            stops calls that run
//   kip::levels, kip::set_level                               the engines: portable, SSE2, AVX2
//
// Each function has a form that returns new images and throws kip::error, and one named try_ that writes into the
// caller's views, throws nothing and returns a status. Images are used where they are, without copies. The functions
// may be called from any thread.
#pragma once

#if !defined(__cpp_concepts) || __cpp_concepts < 201907L
#error "kip/kip.hpp needs C++20: compile with -std=c++20, or a later standard"
#else
#include "cpp/error.hpp"
#include "cpp/image.hpp"
#include "cpp/level.hpp"
#include "cpp/mask.hpp"
#include "cpp/parts.hpp"
#include "cpp/reduce.hpp"
#include "cpp/smooth.hpp"
#include "cpp/stddev.hpp"
#include "cpp/stop.hpp"
#include "cpp/view.hpp"
#endif
