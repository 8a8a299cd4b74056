// SPDX-License-Identifier: Apache-2.0
// The rows of the benchmark: smooth (without masks), masked, reduce2 (reduction and binomial passes) and call (small
// pictures). On one thread; masked smoothing on all of them, too.
#include <vector>

#include "calls.hpp"
#include "opencv.hpp"

namespace {

using namespace kipbench;

const std::string masked[] = {"", "_masked"};

template <typename From, typename To, bool Masked>
void addSmooth(const std::string& family, const Size& size, int32_t sigma, int32_t sample = 1) {
  using Call = Smooth<From, To, Masked>;
  const std::string work = family + size.name() + '/' + bits<From>() + '_' + bits<To>() +
                           (sample == 1 ? "" : "_by" + std::to_string(sample)) + "_sigma" + std::to_string(sigma) +
                           masked[Masked] + '/';
  addCalls<Call>(work, size, sigma, sample);
  const auto addPeers = [&](int32_t threads, const std::string& suffix) {
    const PeerRow row{size, sigma, sample, threads};
    const auto add = [&](const std::string& name, auto filter) {
      addPeer<From, To>(work + "opencv_" + name + suffix, row, filter);
    };
    if constexpr (Masked) {
      add("gaussian", [](auto& peer) { peer.masked(gaussian, false); });
      add("boxes", [](auto& peer) { peer.masked(boxes, false); });
    } else {
      add("boxes", [](auto& peer) { peer.plain(boxes); });
      if constexpr (sizeof(To) == 1) {
        add("gaussian", [](auto& peer) { peer.plain(gaussian); });
      } else {  // faster than OpenCV's 16-bit Gaussian, at every sigma
        add("float", [](auto& peer) { peer.inFloats(gaussian); });
      }
    }
  };
  addPeers(1, "");
  if (const int32_t threads = allThreads(); Masked && threads > 1 && size.width >= middleSize.width) {
    addCall<Call>(work + bestLevel.name + "_all", size, bestLevel, threads, sigma, sample);
    addPeers(threads, "_all");
  }
}

template <typename Pixel, Pass Which, bool Masked>
void addPass(const std::string& family, const Size& size) {
  using Call = Binomial<Pixel, Which, Masked>;
  constexpr const char* names[] = {"_reduction", "_5x5", "_5x1", "_1x5"};
  const std::string work =
      family + size.name() + '/' + bits<Pixel>() + names[static_cast<int>(Which)] + masked[Masked] + '/';
  addCalls<Call>(work, size);
  const PeerRow row{size, 0, 1, 1, Call::divisor};
  const auto compared = [size] { return Call(size); };
  if constexpr (Masked) {
    addPeer<Pixel, Pixel>(
        work + "opencv", row, [](auto& peer) { peer.masked(binomial<Which>, true); }, compared);
  } else {
    addPeer<Pixel, Pixel>(
        work + "opencv", row, [](auto& peer) { peer.plain(binomial<Which>); }, compared);
    if constexpr (Which != Pass::reduction) {
      addPeer<Pixel, Pixel>(work + "opencv_sepFilter2D", row, [](auto& peer) { peer.plain(binomialWeights<Which>); });
    }
  }
}

template <typename Pixel>
void addPasses(const std::string& family, const Size& size) {
  addPass<Pixel, Pass::reduction, false>(family, size);
  addPass<Pixel, Pass::both, false>(family, size);
  addPass<Pixel, Pass::rows, false>(family, size);
  addPass<Pixel, Pass::columns, false>(family, size);
  addPass<Pixel, Pass::reduction, true>(family, size);
  addPass<Pixel, Pass::both, true>(family, size);
}

void addLegacy(const std::string& family, const Size& size, int32_t sigma, const std::string& who) {
  addCall<SmoothLegacy>(family + size.name() + "/8_8_sigma" + std::to_string(sigma) + who, size, bestLevel, 1, sigma);
}

// What several threads can gain here at best: arithmetic without memory, the same amount on each.
void addBusyThreads(const std::string& name, int32_t threads) {
  addRow(name, [threads](benchmark::State& state) {
    const auto work = [] {
      uint32_t sum = 1;
      for (int32_t i = 0; i < 10'000'000; ++i) benchmark::DoNotOptimize(sum = sum * 1664525 + 1013904223);
    };
    for (auto _ : state) {
      std::vector<std::jthread> others;
      for (int32_t i = 1; i < threads; ++i) others.emplace_back(work);
      work();
    }
  });
}

[[maybe_unused]] const bool added = [] {
  constexpr int32_t sigmas[] = {1, 2, 3, 5, 8, 15, 24, 63};
  for (const Size& size : {Size{640, 480}, middleSize, Size{4096, 3072}}) {
    const bool isMiddle = size.width == middleSize.width;
    for (const std::string family : {"smooth/", "masked/", "reduce2/"}) {
      addCopy<uint8_t>(family, size);
      addCopy<uint16_t>(family, size);
    }
    for (const int32_t sigma : sigmas) {
      if (!isMiddle && sigma != 1 && sigma != 3 && sigma != 8 && sigma != 24) continue;
      for (int32_t sample = 1; sample <= (isMiddle ? 3 : 1); ++sample) {
        addSmooth<uint8_t, uint8_t, false>("smooth/", size, sigma, sample);
        addSmooth<uint8_t, uint16_t, false>("smooth/", size, sigma, sample);
      }
      addLegacy("smooth/", size, sigma, "/kfGauss");
      const bool is16 = sigma <= 39;  // the largest for 16-bit pictures
      if (is16) addSmooth<uint16_t, uint16_t, false>("smooth/", size, sigma);
      if (size.width < middleSize.width) continue;
      addSmooth<uint8_t, uint8_t, true>("masked/", size, sigma);
      addSmooth<uint8_t, uint16_t, true>("masked/", size, sigma);
      if (is16) addSmooth<uint16_t, uint16_t, true>("masked/", size, sigma);
    }
    addPasses<uint8_t>("reduce2/", size);
    addPasses<uint16_t>("reduce2/", size);
  }
  addBusyThreads("masked/0x0/busy/one", 1);
  addBusyThreads("masked/0x0/busy/all", allThreads());
  for (const Size& size : {Size{16, 16}, Size{64, 64}}) {
    for (const int32_t sigma : {1, 3}) {
      addSmooth<uint8_t, uint8_t, false>("call/", size, sigma);
      addSmooth<uint8_t, uint16_t, false>("call/", size, sigma);
    }
    addLegacy("call/", size, 3, "_kfGauss/level2");
    addSmooth<uint8_t, uint8_t, true>("call/", size, 3);
    addSmooth<uint16_t, uint16_t, true>("call/", size, 3);
    addPasses<uint8_t>("call/", size);
    addPasses<uint16_t>("call/", size);
  }
  addSmooth<uint8_t, uint8_t, false>("call/", {128, 128}, 63);
  addSmooth<uint8_t, uint16_t, false>("call/", {128, 128}, 63);
  addSmooth<uint8_t, uint8_t, true>("call/", {128, 128}, 63);
  return true;
}();

}  // namespace
