// SPDX-License-Identifier: Apache-2.0
#include "request.hpp"

#include <sstream>

#include "frame/windows.hpp"
#include "kip/masked.h"
#include "support/draws.hpp"

namespace kiptest {

namespace {

constexpr decltype(&kip_gauss_smoothMasked8_8) maskedImage[] = {kip_gauss_smoothMasked8_8, kip_gauss_smoothMasked8_16,
                                                                kip_gauss_smoothMasked16_16};
constexpr decltype(&kip_gauss_smoothMaskedWindow8_8) maskedWindow[] = {
    kip_gauss_smoothMaskedWindow8_8, kip_gauss_smoothMaskedWindow8_16, kip_gauss_smoothMaskedWindow16_16};

template <typename Pixel>
kimg_window windowIn(const Canvas<Pixel>& sheet, const kstd_rect32& part) {
  kimg_window window = windowOn(sheet);
  if (window.bound != 0) require(kimg_window_windowRect(&window, &part, nullptr) == 0, "part");
  return window;
}

// A canvas with the picture that was painted on it.
template <typename Pixel>
class Source {
 public:
  Source(const Request& request, std::vector<Pixel> picture)
      : canvas(regionOf(request.sheet()), 0xA5, request.placement),
        image(canvas),
        window(kip::asConst(windowIn(canvas, request.source))),
        picture_(std::move(picture)),
        isGiven_(!picture_.empty()) {
    if (isGiven_) canvas.paint(picture_);
  }
  [[nodiscard]] bool isUntouched() const {
    return canvas.intactOutside(canvas.region()) && (!isGiven_ || canvas.crop(canvas.region()) == picture_);
  }

  Canvas<Pixel> canvas;
  Image image;
  kimg_windowConst window;

 private:
  std::vector<Pixel> picture_;
  bool isGiven_;
};

template <typename Pixel>
struct Target {
  explicit Target(const Request& request)
      : canvas(regionOf(grown(request.destination, request.margin)), Pixel{fillValue}, request.placement),
        bound(canvas),
        image(request.form == Form::bound ? bound : unbound),
        window(windowIn(canvas, request.destination)) {}

  const Canvas<Pixel> canvas;
  Image bound, unbound;
  Image& image;
  kimg_window window;
};

template <typename Pixel>
ksys_status callReduction(const Request& r, Source<Pixel>& src, Source<uint8_t>& mask, Target<Pixel>& dst,
                          Target<uint8_t>& dstMask) {
  using Functions = Family<Pixel>;
  kimg_image* const toMask = r.hasDstMask ? dstMask.image.get() : nullptr;
  const kimg_window* const toMaskWindow = r.hasDstMask ? &dstMask.window : nullptr;
  const int32_t xRadius = 2 * r.params.xSigma, yRadius = 2 * r.params.ySigma;
  if (r.function == Function::noSample) {
    if (r.form != Form::window) {
      return r.hasSrcMask ? Functions::smoothMaskedImage(src.image.get(), mask.image.get(), dst.image.get(), toMask,
                                                         xRadius, yRadius)
                          : Functions::smoothImage(src.image.get(), dst.image.get(), xRadius, yRadius);
    }
    return r.hasSrcMask
               ? Functions::smoothMaskedWindow(&src.window, &mask.window, &dst.window, toMaskWindow, xRadius, yRadius)
               : Functions::smoothWindow(&src.window, &dst.window, xRadius, yRadius);
  }
  const Reduction& reduction =
      Functions::reductions[static_cast<int>(r.function) - static_cast<int>(Function::reduceXY)];
  if (r.form != Form::window) {
    return r.hasSrcMask ? reduction.maskedImage(src.image.get(), mask.image.get(), dst.image.get(), toMask)
                        : reduction.image(src.image.get(), dst.image.get());
  }
  return r.hasSrcMask ? reduction.maskedWindow(&src.window, &mask.window, nullptr, &dst.window, toMaskWindow, nullptr)
                      : reduction.window(&src.window, nullptr, &dst.window, nullptr);
}

template <typename Src, typename Dst>
ksys_status call(const Request& r, Source<Src>& src, Source<uint8_t>& mask, Source<uint8_t>& samples, Target<Dst>& dst,
                 Target<uint8_t>& dstMask) {
  if (r.isReduction()) {
    if constexpr (sizeof(Src) == sizeof(Dst)) return callReduction<Src>(r, src, mask, dst, dstMask);
  }
  const auto given = [](bool has, auto* object) { return has ? object : nullptr; };
  if (r.function == Function::resultMask) {
    const int32_t sigma[2] = {r.params.xSigma, r.params.ySigma}, sample[2] = {r.params.xSample, r.params.ySample};
    return kip_filterMask_computeResultMask_(mask.image.get(), given(r.hasSampleMask, samples.image.get()), sigma,
                                             sample, r.params.filterMask.minCoverage, dst.image.get());
  }
  if (r.function == Function::smooth) {
    return r.form == Form::window ? Typed<Dst>::smoothWindow(&src.window, &dst.window, &r.params)
                                  : Typed<Dst>::smoothImage(src.image.get(), dst.image.get(), &r.params);
  }
  constexpr size_t pair = sizeof(Src) + sizeof(Dst) - 2;
  if (r.form == Form::window) {
    return maskedWindow[pair](&src.window, given(r.hasSrcMask, &mask.window), given(r.hasSampleMask, &samples.window),
                              &r.params, &dst.window, given(r.hasDstMask, &dstMask.window));
  }
  return maskedImage[pair](src.image.get(), given(r.hasSrcMask, mask.image.get()),
                           given(r.hasSampleMask, samples.image.get()), &r.params, dst.image.get(),
                           given(r.hasDstMask, dstMask.image.get()));
}

template <typename Pixel>
void collect(const Request& r, const Target<Pixel>& target, std::vector<int32_t>& pixels, std::string& fault) {
  std::vector<Pixel> all;
  const ksIRegion window = regionOf(r.destination);
  if (r.form == Form::unbound) {
    all = target.unbound.template pixels<Pixel>();
  } else {
    all = target.canvas.crop(window);
  }
  pixels.assign(all.begin(), all.end());
  if (!target.canvas.intactOutside(r.form == Form::unbound ? ksIRegion{} : window)) {
    fault = "wrote outside the destination";
  }
}

// Into a new image, a given one or the source itself.
Outcome runLegacy(const Request& r, Source<uint8_t>& source) {
  Outcome outcome;
  const Canvas<uint8_t> canvas(regionOf(r.destination), fillValue, r.placement);
  const LegacyImage from = legacyOn(source.canvas);
  const LegacyImage given = r.form == Form::unbound ? nullptr : legacyOn(canvas);
  ksVImage* const to = r.inPlace != 0 ? from.get() : given.get();
  outcome.computed = regionOf(r.destination);
  ksVImage* const result =
      kfGauss(from.get(), to, r.passes, r.params.xSigma, r.params.ySigma, r.peakNormalize, &outcome.computed);
  const LegacyImage created(to == nullptr ? result : nullptr);
  outcome.region = *ksVImageRegion(result);
  const std::vector<uint8_t> pixels = pixelsOf<uint8_t>(result);
  outcome.pixels.assign(pixels.begin(), pixels.end());
  if (!canvas.intactOutside(to == given.get() && to != nullptr ? canvas.region() : ksIRegion{})) {
    outcome.fault = "wrote outside the destination";
  }
  if (to != from.get() ? !source.isUntouched() : !source.canvas.intactOutside(source.canvas.region())) {
    outcome.fault = "wrote to the source or around it";
  }
  return outcome;
}

template <typename Src, typename Dst>
Outcome runTyped(const Request& r) {
  Pictures<Src> pictures(r);
  Source<Src> src(r, std::move(pictures.pixels));
  Source<uint8_t> mask(r, std::move(pictures.srcMask)), samples(r, std::move(pictures.sampleMask));
  if constexpr (sizeof(Src) == 1) {
    if (r.function == Function::legacy) return runLegacy(r, src);
  }
  Target<Dst> dst(r);
  Target<uint8_t> dstMask(r);
  src.image.setLinear({3.0, -2.0, 2.0, 0.5, 0.0, 4.0});
  Outcome outcome;
  outcome.status = call(r, src, mask, samples, dst, dstMask);
  outcome.region = r.form == Form::unbound ? dst.unbound.region() : regionOf(r.destination);
  outcome.point = dst.image.map(7.0, 5.0);
  collect(r, dst, outcome.pixels, outcome.fault);
  collect(r, dstMask, outcome.mask, outcome.fault);
  if (!src.isUntouched() || !mask.isUntouched() || !samples.isUntouched()) {
    outcome.fault = "wrote to the source or around it";
  }
  return outcome;
}

}  // namespace

template <typename Pixel>
Pictures<Pixel>::Pictures(const Request& request) {
  Random random(request.seed);
  const kstd_rect32 sheet = request.sheet();
  pixels = drawPicture<Pixel>(sheet.width, sheet.height, random).pixels;
  if (request.hasSrcMask) srcMask = drawMask(sheet.width, sheet.height, random);
  if (request.isMostlyEven) makeMostlyEven(srcMask, random);
  if (request.hasSampleMask) sampleMask = drawMask(sheet.width, sheet.height, random);
}

template struct Pictures<uint8_t>;
template struct Pictures<uint16_t>;

std::string describe(const Request& r) {
  static constexpr const char* functions[] = {"smooth",   "masked",  "resultMask", "legacy",
                                              "reduceXY", "reduceX", "reduceY",    "noSample"};
  static constexpr const char* forms[] = {"bound", "unbound", "window"};
  std::ostringstream text;
  text.precision(17);
  text << functions[static_cast<int>(r.function)] << 8 * r.srcBytes << '_' << 8 * r.dstBytes << ' '
       << forms[static_cast<int>(r.form)] << ' ' << regionOf(r.source) << '+' << r.margin << " to "
       << regionOf(r.destination) << " sample " << r.params.xSample << ',' << r.params.ySample << " sigma "
       << r.params.xSigma << ',' << r.params.ySigma << " scale " << r.params.scale << " round " << r.params.roundResult
       << " rule " << r.params.filterMask.allowMaskedSample << r.params.filterMask.useCoverage << ' '
       << r.params.filterMask.minCoverage << " masks " << r.hasSrcMask << r.hasSampleMask << r.hasDstMask
       << (r.isMostlyEven ? " even" : "") << " passes " << r.passes << (r.peakNormalize != 0 ? " peak" : "")
       << (r.inPlace != 0 ? " in place" : "") << " seed " << r.seed;
  return text.str();
}

Outcome run(const Request& request) {
  if (request.srcBytes == 2) return runTyped<uint16_t, uint16_t>(request);
  return request.dstBytes == 2 ? runTyped<uint8_t, uint16_t>(request) : runTyped<uint8_t, uint8_t>(request);
}

}  // namespace kiptest
