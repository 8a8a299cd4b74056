// SPDX-License-Identifier: Apache-2.0
// kip._kip: the library's functions on NumPy arrays that the package has checked and allocated. Each returns a status
// of the library, and computes without the interpreter's lock.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <kip/host/kjob.h>
#include <kip/version.h>
#include <kip/kip.hpp>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace {

using Pair = std::pair<int32_t, int32_t>;  // x, y
using MaybeArray = std::optional<py::array>;

bool is8(const py::array& array) {
  return array.itemsize() == 1;
}

// Rows of neighbouring pixels.
template <typename Pixel>
kip::view<const Pixel> viewOf(const py::array& array) {
  const auto width = static_cast<int32_t>(array.shape(1)), height = static_cast<int32_t>(array.shape(0));
  const auto pitch = static_cast<int32_t>(array.strides(0) / array.itemsize());
  return {static_cast<const Pixel*>(array.data()), width, height, height == 1 ? width : pitch};
}
template <typename Pixel>
kip::view<Pixel> writableViewOf(py::array& array) {
  const kip::view<const Pixel> view = viewOf<Pixel>(array);
  return {static_cast<Pixel*>(array.mutable_data()), view.width, view.height, view.stride};
}
kip::view<const uint8_t> maskOf(const MaybeArray& mask) {
  return mask ? viewOf<uint8_t>(*mask) : kip::view<const uint8_t>{};
}

// Takes the interpreter's lock again. Where the interpreter has ended meanwhile that ends the thread, by unwinding its
// stack, whose objects need the interpreter: such a thread waits for the end of the process.
void lockInterpreter(PyThreadState* thread) {
  try {
    PyEval_RestoreThread(thread);
  } catch (...) {
    for (;;) pause();
  }
}

// What arrives while the library computes. Python handles signals in its main thread alone, ten times a second here. A
// handler may call the library, too: then signals are that call's, and so are errors of their handlers.
class Signals {
 public:
  explicit Signals(PyThreadState* thread) : thread_(thread), outer_(std::exchange(innermost, this)) {}
  ~Signals() { innermost = outer_; }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // Whether a handler raised, as that of Ctrl-C does.
  bool haveRaised() {
    const auto now = std::chrono::steady_clock::now();
    if (hasError_ || now < next_ || innermost != this) return hasError_;
    next_ = now + kInterval;
    if (gettid() != getpid()) return false;
    lockInterpreter(thread_);
    hasError_ = PyErr_CheckSignals() != 0;
    PyEval_SaveThread();
    return hasError_;
  }

 private:
  static thread_local Signals* innermost;
  static constexpr std::chrono::milliseconds kInterval{100};

  PyThreadState* thread_;
  Signals* outer_;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now() + kInterval;
  bool hasError_ = false;
};

thread_local Signals* Signals::innermost = nullptr;

template <typename Call>
ksys_status unlocked(Call&& call) {
  PyThreadState* const thread = PyEval_SaveThread();
  Signals signals(thread);
  const ksys_status status = [&] {
    const kip::stop_when stop([&signals] { return signals.haveRaised(); });
    return call();
  }();
  lockInterpreter(thread);
  if (PyErr_Occurred() != nullptr) throw py::error_already_set();
  return status;
}

kip::smooth_params kernel(Pair sigma, Pair sample, double scale = 1, bool truncate = false) {
  return {.x_sigma = sigma.first,
          .y_sigma = sigma.second,
          .x_sample = sample.first,
          .y_sample = sample.second,
          .scale = scale,
          .truncate = truncate};
}

// Calls function(src, dst) with views of the arrays' pixels: 8 to 8 bits, 8 to 16 or 16 to 16.
template <typename Function>
ksys_status withPixels(const py::array& src, py::array& dst, Function&& function) {
  if (!is8(src)) return function(viewOf<uint16_t>(src), writableViewOf<uint16_t>(dst));
  if (!is8(dst)) return function(viewOf<uint8_t>(src), writableViewOf<uint16_t>(dst));
  return function(viewOf<uint8_t>(src), writableViewOf<uint8_t>(dst));
}
// The same where both have pixels of one size.
template <typename Function>
ksys_status withSamePixels(const py::array& src, py::array& dst, Function&& function) {
  if (!is8(src)) return function(viewOf<uint16_t>(src), writableViewOf<uint16_t>(dst));
  return function(viewOf<uint8_t>(src), writableViewOf<uint8_t>(dst));
}

ksys_status smooth(const py::array& src, py::array dst, Pair sigma, Pair sample, double scale, bool truncate) {
  const kip::smooth_params params = kernel(sigma, sample, scale, truncate);
  return withPixels(src, dst,
                    [&](auto from, auto to) { return unlocked([&] { return kip::try_smooth(from, to, params); }); });
}

ksys_status smoothMasked(const py::array& src, const py::array& mask, const MaybeArray& sampleMask, py::array dst,
                         py::array dstMask, Pair sigma, Pair sample, double scale, bool truncate,
                         std::optional<double> minCoverage, bool allowMaskedSample) {
  const kip::smooth_params params = kernel(sigma, sample, scale, truncate);
  const kip::mask_rule rule = {
      .min_coverage = minCoverage, .allow_masked_sample = allowMaskedSample, .sample_mask = maskOf(sampleMask)};
  const auto valid = viewOf<uint8_t>(mask);
  const auto toMask = writableViewOf<uint8_t>(dstMask);
  return withPixels(src, dst, [&](auto from, auto to) {
    return unlocked([&] { return kip::try_smooth_masked(from, valid, to, toMask, params, rule); });
  });
}

ksys_status resultMask(const py::array& mask, const MaybeArray& sampleMask, py::array dstMask, Pair sigma, Pair sample,
                       double minCoverage) {
  const auto valid = viewOf<uint8_t>(mask), samples = maskOf(sampleMask);
  const auto toMask = writableViewOf<uint8_t>(dstMask);
  return unlocked([&] { return kip::try_result_mask(valid, toMask, kernel(sigma, sample), minCoverage, samples); });
}

// Both are validated by the package, so that there is no failure.
Pair smoothSize(int32_t width, int32_t height, Pair sigma, Pair sample) {
  const kip::rect rect = kip::smoothed_rect({0, 0, width, height}, kernel(sigma, sample));
  return {rect.width, rect.height};
}

// -1: there is none.
int32_t sigmaOf(double stddev) {
  int32_t sigma = -1;
  (void)kip::try_stddev(stddev, sigma);
  return sigma;
}

int32_t largestSigma(int32_t bits) {
  int32_t sigma = 0;
  (void)(bits == 8 ? kip_gaussParamsGetMaxSigma : kip_gaussParamsGetMaxSigma16)(&sigma);
  return sigma;
}

kip::mask_meaning meaningOf(bool areWeights) {
  return areWeights ? kip::mask_meaning::weight : kip::mask_meaning::validity;
}

kip::axes axesOf(bool alongX, bool alongY) {
  return alongX && alongY ? kip::axes::both : alongX ? kip::axes::x : kip::axes::y;
}

ksys_status reduce(const py::array& src, const MaybeArray& mask, py::array dst, std::optional<py::array> dstMask,
                   bool alongX, bool alongY, bool areWeights) {
  const kip::axes axes = axesOf(alongX, alongY);
  const auto weights = maskOf(mask);
  const auto toMask = dstMask ? writableViewOf<uint8_t>(*dstMask) : kip::view<uint8_t>{};
  return withSamePixels(src, dst, [&](auto from, auto to) {
    return unlocked([&] {
      if (weights.is_empty()) return kip::try_reduce(from, to, axes);
      return kip::try_reduce(from, weights, to, toMask, axes, meaningOf(areWeights));
    });
  });
}

ksys_status binomial(const py::array& src, const MaybeArray& mask, py::array dst, std::optional<py::array> dstMask,
                     Pair radius, bool areWeights) {
  const kip::binomial_params params = {.x_radius = radius.first, .y_radius = radius.second};
  const auto weights = maskOf(mask);
  const auto toMask = dstMask ? writableViewOf<uint8_t>(*dstMask) : kip::view<uint8_t>{};
  return withSamePixels(src, dst, [&](auto from, auto to) {
    return unlocked([&] {
      if (weights.is_empty()) return kip::try_binomial(from, to, params);
      return kip::try_binomial(from, weights, to, toMask, params, meaningOf(areWeights));
    });
  });
}

// ---- processor levels

// An empty name: whatever the processor has. False for more than that.
bool setLevel(const std::string& name, const std::vector<std::string>& offered) {
  if (name.empty()) {
    kip::clear_level();
    return true;
  }
  const bool isOffered = std::find(offered.begin(), offered.end(), name) != offered.end();
  if (isOffered) kip::set_level(*kip::find_level(name));
  return isOffered;
}

// ---- parts of pictures

py::tuple cut(const kip_partAxis& axis) {
  return py::make_tuple(axis.isCut != 0, axis.step, axis.align, axis.before, axis.least);
}

// Of y, then of x: as axes of arrays are numbered.
py::tuple cuts(const kip_parts& parts) {
  return py::make_tuple(cut(parts.y), cut(parts.x));
}

py::tuple smoothParts(Pair sigma, Pair sample, double scale, bool truncate, int32_t bits, bool isMasked) {
  const kip::smooth_params params = kernel(sigma, sample, scale, truncate);
  return cuts(bits == 8 ? kip::smoothing_parts<uint8_t>(params, isMasked)
                        : kip::smoothing_parts<uint16_t>(params, isMasked));
}

py::tuple reduceParts(bool alongX, bool alongY) {
  return cuts(kip::reduction_parts(axesOf(alongX, alongY)));
}

}  // namespace

PYBIND11_MODULE(_kip, module) {
  std::vector<std::string> names, offered;
  for (const kip_level& level : kip::levels()) {
    names.emplace_back(level.name);
    if (kip::is_offered(level)) offered.emplace_back(level.name);
  }
  module.attr("processor_level") = offered.back();
  module.attr("__version__") = kip_version();
  module.attr("LEVELS") = names;
  module.attr("NO_MEMORY") = KSYS_STATUS_NO_MEMORY;
  module.def("status_text", kip::status_text);
  module.def("smooth", smooth);
  module.def("smooth_masked", smoothMasked);
  module.def("result_mask", resultMask);
  module.def("stddev", sigmaOf);
  module.def("smooth_size", smoothSize);
  module.def("largest_sigma", largestSigma);
  module.def("reduce", reduce);
  module.def("binomial", binomial);
  module.def("level", [] { return kip::best_level().name; });
  module.def("set_level", [offered](const std::string& name) { return setLevel(name, offered); });
  module.def("smooth_parts", smoothParts);
  module.def("reduce_parts", reduceParts);
  module.def("set_threads", ksys_jobThreads_setMaximum);
}
