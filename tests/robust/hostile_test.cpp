// SPDX-License-Identifier: Apache-2.0
// Every function with arguments that a caller gets wrong, one at a time: a status or a failed argument check, and
// nothing is written outside the destination. The sanitizers see undefined behaviour.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "kip/host/kpel.h"
#include "robust/calls.hpp"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using namespace kiptest;

constexpr int32_t kLow = INT32_MIN, kHigh = INT32_MAX;

// What a failed argument check leaves behind is no leak.
class IgnoreLeaks : NotCopied {
 public:
#ifdef __SANITIZE_ADDRESS__
  IgnoreLeaks() {
    __lsan_disable();
  }
  ~IgnoreLeaks() {
    __lsan_enable();
  }
#else
  IgnoreLeaks() {}
#endif
};

// A host with little memory and little patience: absurd requests end early.
struct ModestHost {
  ModestHost() {
    ksys_memory_setHandler(
        [](void*, uint64_t bytes) { return bytes > (uint64_t{1} << 24) ? KSYS_STATUS_NO_MEMORY : 0; }, nullptr);
  }
  ~ModestHost() { ksys_memory_setHandler(nullptr, nullptr); }
  AttentionProbe attention{500};
};

struct Fault {
  std::string name;
  std::function<void(Scene&)> apply;
  Role Scene::*refused = nullptr;  // the argument that makes success wrong where pixels of it are used
  bool isHosts = false;            // of fields that are the host's: a status, or the pixels as ever
  Role Scene::*deeper = nullptr;   // the argument that has pixels of the other depth
};

struct RoleFault {
  const char* name;
  void (*apply)(Scene& scene, Role& role);
  bool isRefused = false;
  bool isHosts = false;
};

void place(Role& role, int32_t x, int32_t y) {
  role.setRegion({x, y, role.image.width, role.image.height});
}
void size(Role& role, int32_t width, int32_t height) {
  role.setRegion({role.image.x, role.image.y, width, height});
}
// As a window is that a caller filled by hand: of the rest every byte is the same.
template <int Byte>
void fillHosts(Scene&, Role& role) {
  for (void* const field : {static_cast<void*>(&role.window.pixelBytes), static_cast<void*>(&role.window.reserved)}) {
    std::memset(field, Byte, sizeof(int32_t));
  }
  std::memset(&role.window.image, Byte, sizeof(kstd_rect32));
}
// 4 GiB of address space, all 0, of which hardly a page is used.
void* reserve() {
  static void* const memory =
      mmap(nullptr, size_t{1} << 32, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return memory;
}

const RoleFault roleFaults[] = {
    {"null", [](Scene&, Role& role) { role.isNull = true; }},
    {"unbound", [](Scene&, Role& role) { role.unbind(); }},
    {"no columns", [](Scene&, Role& role) { size(role, 0, 5); }},
    {"no rows", [](Scene&, Role& role) { size(role, 5, 0); }},
    {"negative width", [](Scene&, Role& role) { size(role, -1, 5); }},
    {"lowest size", [](Scene&, Role& role) { size(role, kLow, kLow); }},
    {"lowest place", [](Scene&, Role& role) { place(role, kLow, kLow); }},
    {"highest place", [](Scene&, Role& role) { place(role, kHigh - role.image.width, kHigh - role.image.height); }},
    {"past the highest column", [](Scene&, Role& role) { place(role, kHigh, role.image.y); }},
    {"past the highest row", [](Scene&, Role& role) { place(role, role.image.x, kHigh - 3); }},
    {"one pixel",
     [](Scene&, Role& role) {
       role.setRegion({0, 0, 1, 1});
     }},
    {"one row less", [](Scene&, Role& role) { size(role, role.image.width, role.image.height - 1); }},
    {"one row up", [](Scene&, Role& role) { place(role, role.image.x, role.image.y - 1); }},
    {"odd place", [](Scene&, Role& role) { place(role, role.image.x + 1, role.image.y + 1); }},
    {"widest",
     [](Scene&, Role& role) {
       role.setPixels(reserve()), role.setRegion({kLow / 2, 0, kHigh, 1});
     }},
    {"highest",
     [](Scene&, Role& role) {
       role.setPixels(reserve()), role.setStride(1), role.setRegion({0, kLow / 2, 1, kHigh});
     }},
    {"stride 0", [](Scene&, Role& role) { role.setStride(0); }, true},
    {"stride below the width",
     [](Scene&, Role& role) { role.image.stride = role.window.stride = role.image.width - 1; }, true},
    {"bottom up",
     [](Scene&, Role& role) {
       if (role.image.pixels == nullptr) return;
       const int64_t toLast = int64_t{role.legacy.stride} * (role.image.height - 1);
       role.setPixels(static_cast<std::byte*>(role.image.pixels) + toLast);
       role.setStride(-role.image.stride);
     },
     true},
    {"other depth",
     [](Scene& scene, Role& role) {
       const bool toWide = role.image.pixelBytes != 2;
       if (&role == &scene.src) return toWide ? role.put(scene.src16) : role.put(scene.src8);
       if (&role == &scene.dst) scene.isWide = toWide;
       return toWide ? role.put(scene.dst16) : role.put(scene.dst8);
     },
     true},
    {"by hand, other bytes 0", fillHosts<0>, false, true},
    {"by hand, other bytes set", fillHosts<0xFF>, false, true},
    {"over the destination",
     [](Scene& scene, Role& role) {
       if (&role != &scene.dst)
         role.setPixels(scene.isWide ? static_cast<void*>(scene.dst16.pixels()) : scene.dst8.pixels());
     }},
};

constexpr Role Scene::*roles[] = {&Scene::src, &Scene::srcMask, &Scene::sampleMask, &Scene::dst, &Scene::dstMask};

template <typename Value>
void addValues(std::vector<Fault>& faults, const std::string& name, std::initializer_list<Value> values,
               void (*set)(Scene&, Value)) {
  for (const Value value : values) {
    faults.push_back({name + ' ' + std::to_string(value), [=](Scene& scene) { set(scene, value); }});
  }
}

// `pixels`: of a call that takes images or windows.
std::vector<Fault> faultsOf(bool pixels) {
  std::vector<Fault> faults;
  for (const RoleFault& fault : roleFaults) {
    for (size_t i = 0; i < std::size(roles); ++i) {
      const auto role = roles[i];
      const bool isImage = role == &Scene::src || role == &Scene::dst;
      faults.push_back({fault.name + (" of argument " + std::to_string(i)),
                        [role, fault](Scene& scene) { fault.apply(scene, scene.*role); },
                        fault.isRefused && isImage ? role : nullptr, fault.isHosts,
                        std::string_view(fault.name) == "other depth" ? role : nullptr});
    }
  }
  for (const int32_t at : {kLow, kHigh - 100}) {
    faults.push_back({"all at " + std::to_string(at), [at](Scene& scene) {
                        for (const auto role : roles) place(scene.*role, at, at);
                        for (kstd_rect32* rect : {&scene.rect, &scene.requested, &scene.band}) rect->x = rect->y = at;
                      }});
  }
  const std::pair<const char*, void (*)(Scene&, int32_t)> integers[] = {
      {"xSample", [](Scene& s, int32_t v) { s.params.xSample = s.legacy.xSample = s.sample[0] = v; }},
      {"ySample", [](Scene& s, int32_t v) { s.params.ySample = s.legacy.ySample = s.sample[1] = v; }},
      {"xSigma", [](Scene& s, int32_t v) { s.params.xSigma = s.legacy.xSigma = s.sigma[0] = s.radius[0] = v; }},
      {"ySigma", [](Scene& s, int32_t v) { s.params.ySigma = s.legacy.ySigma = s.sigma[1] = s.radius[1] = v; }},
      {"sigmas", [](Scene& s, int32_t v) { s.params.xSigma = s.params.ySigma = s.sigma[0] = s.sigma[1] = v; }},
      {"flags", [](Scene& s, int32_t v) { s.params.roundResult = s.legacy.roundResult = s.passes = v; }},
      {"peakNormalize", [](Scene& s, int32_t v) { s.legacy.peakNormalize = s.peakNormalize = v; }},
      {"extendBorder", [](Scene& s, int32_t v) { s.legacy.extendBorder = v; }},
      {"allowMaskedSample", [](Scene& s, int32_t v) { s.params.filterMask.allowMaskedSample = v; }},
      {"useCoverage", [](Scene& s, int32_t v) { s.params.filterMask.useCoverage = v; }},
      {"rect: start", [](Scene& s, int32_t v) { s.startRow = s.offset[0] = s.offset[1] = v; }},
      {"rect: place", [](Scene& s, int32_t v) { s.rect.x = s.rect.y = v; }},
      {"rect: size", [](Scene& s, int32_t v) { s.rect.width = s.rect.height = v; }},
      {"rect: all",
       [](Scene& s, int32_t v) {
         s.rect = {v, v, v, v};
       }},
      {"rect: requested place", [](Scene& s, int32_t v) { s.requested.x = s.requested.y = v; }},
      {"rect: requested size", [](Scene& s, int32_t v) { s.requested.width = s.requested.height = v; }},
      {"rect: padding place", [](Scene& s, int32_t v) { s.padding.x = s.padding.y = v; }},
      {"rect: padding size", [](Scene& s, int32_t v) { s.padding.width = s.padding.height = v; }},
      {"rect: band", [](Scene& s, int32_t v) { s.band.y = s.band.width = s.band.height = v; }},
  };
  for (const auto& [name, set] : integers) {
    if (pixels && std::string_view(name).starts_with("rect")) continue;
    addValues(faults, name, {kLow, -1, 0, 1, 2, 1000, 715827882, kHigh - 1, kHigh}, set);
  }
  constexpr double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<const char*, void (*)(Scene&, double)> reals[] = {
      {"scale", [](Scene& s, double v) { s.params.scale = v; }},
      {"minCoverage", [](Scene& s, double v) { s.params.filterMask.minCoverage = s.minCoverage = v; }},
      {"legacy scale",
       [](Scene& s, double v) {
         s.legacy.scale = v > 1e38 ? std::numeric_limits<float>::infinity() : static_cast<float>(v);
       }},
  };
  for (const auto& [name, set] : reals) {
    addValues(faults, name, {nan, infinity, -infinity, 0.0, -0.0, 1e-320, 1e-300, 1e-40, 1e37, 1e39, 1e308}, set);
  }
  return faults;
}

// Whether images' or windows' pixels are used, as against rectangles and legacy images.
bool usesPixels(const Call& call) {
  const std::string_view name = call.name;
  return name.find("mooth") != name.npos;
}

// Whether the call takes 16-bit pixels of a destination for bytes: nothing of the host tells it that they are more.
bool takesForBytes(const Call& call, Role Scene::*deeper) {
  const std::string_view name = call.name;
  const bool asksRectangleAlone = name.find("gauss2") != name.npos || name.find("Masked") != name.npos;
  return deeper == &Scene::dstMask || (deeper == &Scene::dst && call.dstBytes == 1 && asksRectangleAlone);
}

TEST(Hostile, ArgumentsEndInAStatusOrAnArgumentCheck) {
  const std::vector<Fault> faults[] = {faultsOf(false), faultsOf(true)};
  const std::vector<kip_level> all = usableLevels();
  for (const kip_level& level : {all.front(), all.back()}) {
    const ProcessorOverride processor(level);
    for (const Call& call : calls()) {
      for (const Form form : {Form::plain, Form::created}) {
        if (std::find(call.forms.begin(), call.forms.end(), form) == call.forms.end()) continue;
        const Scene fresh(call.srcBytes, call.dstBytes, form);
        Scene untouched(call.srcBytes, call.dstBytes, form);
        EXPECT_EQ(call.run(untouched), 0);
        const std::vector<int64_t> good = untouched.delivered();
        for (const Fault& fault : faults[usesPixels(call) ? 1 : 0]) {
          if (takesForBytes(call, fault.deeper)) continue;
          SCOPED_TRACE(std::string(call.name) + (form == Form::plain ? ", " : " created, ") + level.title + ": " +
                       fault.name);
          bool checked = false;
          // a second time, to see leaks, where the first time ended in a status
          for (int32_t turn = 0; turn < 2 && !checked; ++turn) {
            Scene scene(call.srcBytes, call.dstBytes, form);
            scene.fresh = &fresh;
            fault.apply(scene);
            ksys_status status = 0;
            const ModestHost host;
            const auto run = [&] { status = call.run(scene); };
            if (turn == 0) {
              const IgnoreLeaks ignore;
              checked = failsCheck(run);
            } else {
              run();
            }
            EXPECT_LE(status, 0);
            EXPECT_TRUE(scene.isIntact()) << "written outside, status " << std::hex << status;
            if (fault.isHosts) {
              EXPECT_FALSE(checked);
              EXPECT_TRUE(status != 0 || scene.delivered() == good);
            }
            if (fault.refused != nullptr && usesPixels(call) && (form == Form::plain || fault.refused == &Scene::src)) {
              EXPECT_TRUE(checked || status != 0) << "taken";
            }
          }
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

}  // namespace
