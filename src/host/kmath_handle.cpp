// SPDX-License-Identifier: Apache-2.0
#include "kmath_handle.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>
#include <utility>

#include "counted.hpp"
#include "kmath_linear.hpp"
#include "status.hpp"

using kiphost::failed;

// Never changes after its creation, so threads may share it. Compositions may be as many as memory holds: nothing here
// recurses. Linear transforms that follow one another are one; those at the ends of a composition stand where the next
// one finds them: outer end after (core after inner end), each end where there is one.
struct kmath_xform {
  using Function = void (*)(void* context, const double in[2], double out[2]);
  enum class Kind { linear, function, composition, inverse };

  mutable kiphost::Counted references{};
  Kind kind{};
  kmath_xformLinear linear{};            // linear
  Function map{}, unmap{};               // function
  void* context{};                       // function
  void (*release)(void* context){};      // function
  const kmath_xform *outer{}, *inner{};  // composition: outer after inner; inverse: of outer
  int64_t depth{};                       // compositions on the longest way down
  kmath_xform* next{};                   // while it is let go
};

namespace {

using Kind = kmath_xform::Kind;

const kmath_xform* retained(const kmath_xform* xform) {
  if (xform != nullptr) xform->references.retain();
  return xform;
}

void release(const kmath_xform* xform) {
  kmath_xform* unused = nullptr;  // those that nothing refers to any more
  const auto letGo = [&unused](const kmath_xform* one) {
    if (one == nullptr || !one->references.release()) return;
    auto* const last = const_cast<kmath_xform*>(one);
    last->next = unused;
    unused = last;
  };
  letGo(xform);
  while (unused != nullptr) {
    kmath_xform* one = unused;
    unused = one->next;
    letGo(one->outer);
    letGo(one->inner);
    if (one->release != nullptr) one->release(one->context);
    one->~kmath_xform();
    ksys_memory_free_internal(&one);
  }
}

// A reference of our own; null: the identity.
class Reference {
 public:
  explicit Reference(const kmath_xform* shared = nullptr) : xform_(retained(shared)) {}
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
  ~Reference() { release(xform_); }

  [[nodiscard]] const kmath_xform* get() const { return xform_; }
  [[nodiscard]] const kmath_xform* take() { return std::exchange(xform_, nullptr); }
  // Takes over the caller's reference.
  void reset(const kmath_xform* xform) { release(std::exchange(xform_, xform)); }

 private:
  const kmath_xform* xform_;
};

// The handle takes over the caller's reference.
void replace(kmath_xformPtrhConst& handle, const kmath_xform* xform) {
  const kmath_xform* const old = handle.xform;
  handle.xform = xform;
  release(old);
}

// A new transform that refers to nothing yet.
ksys_status create(Kind kind, kmath_xform** xform) {
  void* block;
  const ksys_status status = ksys_memory_alloc_internal(sizeof(kmath_xform), &block);
  if (failed(status)) return status;
  *xform = new (block) kmath_xform;
  (*xform)->kind = kind;
  return 0;
}

ksys_status createLinear(const kmath_xformLinear& linear, kmath_xform** xform) {
  const ksys_status status = create(Kind::linear, xform);
  if (!failed(status)) (*xform)->linear = linear;
  return status;
}

bool isLinear(const kmath_xform* xform) {
  return xform == nullptr || xform->kind == Kind::linear;
}

const kmath_xformLinear& linearOf(const kmath_xform* xform) {
  return xform == nullptr ? kiphost::kIdentity : xform->linear;
}

// Makes it `outer` after what it was.
ksys_status putBehind(Reference& xform, const kmath_xform* outer) {
  if (outer == nullptr) return 0;
  if (xform.get() == nullptr) {
    xform.reset(retained(outer));
    return 0;
  }
  kmath_xform* both;
  if (isLinear(outer) && isLinear(xform.get())) {
    const ksys_status status = createLinear(kiphost::composed(outer->linear, xform.get()->linear), &both);
    if (failed(status)) return status;
  } else {
    const ksys_status status = create(Kind::composition, &both);
    if (failed(status)) return status;
    both->outer = retained(outer);
    both->inner = xform.take();
    both->depth = std::max(both->outer->depth, both->inner->depth) + 1;
  }
  xform.reset(both);
  return 0;
}

// A transform's linear ends, null where there is none, and what lies between. Of a linear one `inner` alone is set.
struct Parts {
  const kmath_xform *outer{}, *core{}, *inner{};

  explicit Parts(const kmath_xform* xform) {
    if (isLinear(xform)) {
      inner = xform;
      return;
    }
    core = xform;
    if (core->kind == Kind::composition && isLinear(core->outer)) {
      outer = core->outer;
      core = core->inner;
    }
    if (core->kind == Kind::composition && isLinear(core->inner)) {
      inner = core->inner;
      core = core->outer;
    }
  }
};

// result(p) = a(b(p))
ksys_status compose(const kmath_xform* a, const kmath_xform* b, Reference& result) {
  const Parts x(a), y(b);
  Reference meeting(y.core != nullptr ? y.outer : y.inner);
  ksys_status status = putBehind(meeting, x.inner);
  if (failed(status)) return status;
  const bool both = x.core != nullptr && y.core != nullptr;
  Reference core(y.core);
  if (both && failed(status = putBehind(core, meeting.get()))) return status;
  if (failed(status = putBehind(core, x.core))) return status;

  result.reset(retained(y.core != nullptr ? y.inner : x.core != nullptr ? meeting.get() : nullptr));
  if (failed(status = putBehind(result, core.get()))) return status;
  return putBehind(result, x.core != nullptr ? x.outer : meeting.get());
}

// `in` and `out` may be the same.
ksys_status apply(const kmath_xform* xform, bool backwards, const double in[2], double out[2]) {
  struct Step {
    const kmath_xform* xform;
    bool backwards;
  };
  constexpr int64_t few = 16;
  Step fewSteps[few];
  Step* waiting = fewSteps;  // the steps to come, the next one last
  void* block = nullptr;
  if (xform != nullptr && xform->depth > few) {
    const ksys_status status = ksys_memory_alloc_internal(static_cast<uint64_t>(xform->depth) * sizeof(Step), &block);
    if (failed(status)) return status;
    waiting = static_cast<Step*>(block);
  }
  int64_t count = 0;
  double point[2] = {in[0], in[1]};
  for (Step step = {xform, backwards};;) {
    const kmath_xform* const one = step.xform;
    if (isLinear(one)) {
      const kmath_xformLinear& linear = linearOf(one);
      kiphost::mapBy(step.backwards ? kiphost::inverted(linear) : linear, point, point);
    } else if (one->kind == Kind::function) {
      const double from[2] = {point[0], point[1]};  // the callback may write before it has read all
      (step.backwards ? one->unmap : one->map)(one->context, from, point);
    } else if (one->kind == Kind::composition) {
      waiting[count++] = {step.backwards ? one->inner : one->outer, step.backwards};
      step.xform = step.backwards ? one->outer : one->inner;
      continue;
    } else {
      step = {one->outer, !step.backwards};
      continue;
    }
    if (count == 0) break;
    step = waiting[--count];
  }
  ksys_memory_free_internal(&block);
  out[0] = point[0];
  out[1] = point[1];
  return 0;
}

// Value and slope at the point, the slope by central differences.
ksys_status linearize(const kmath_xform* xform, const double point[2], kmath_xformLinear& linear) {
  ksys_status status;
  double slope[2][2];  // [along axis][of coordinate]
  for (int axis = 0; axis < 2; ++axis) {
    const double step = std::cbrt(DBL_EPSILON) * std::max(1.0, std::fabs(point[axis]));
    double before[2] = {point[0], point[1]}, after[2] = {point[0], point[1]};
    before[axis] -= step;
    after[axis] += step;
    const double distance = after[axis] - before[axis];
    if (failed(status = apply(xform, false, before, before))) return status;
    if (failed(status = apply(xform, false, after, after))) return status;
    for (int coordinate = 0; coordinate < 2; ++coordinate) {
      slope[axis][coordinate] = (after[coordinate] - before[coordinate]) / distance;
    }
  }
  double value[2];
  if (failed(status = apply(xform, false, point, value))) return status;
  linear = {value[0] - (slope[0][0] * point[0] + slope[1][0] * point[1]),
            value[1] - (slope[0][1] * point[0] + slope[1][1] * point[1]),
            slope[0][0],
            slope[1][0],
            slope[0][1],
            slope[1][1]};
  return 0;
}

}  // namespace

void kiphost::assign(kmath_xformPtrhConst& to, const kmath_xformPtrhConst& from) {
  replace(to, retained(from.xform));
}

ksys_status kiphost::assignInverse(kmath_xformPtrhConst& to, const kmath_xformPtrhConst& from) {
  const kmath_xform* const xform = from.xform;
  if (xform == nullptr || xform->kind == Kind::inverse) {
    replace(to, xform == nullptr ? nullptr : retained(xform->outer));
    return 0;
  }
  kmath_xform* inverse;
  if (xform->kind == Kind::linear) {
    kmath_xformLinear linear;
    ksys_status status = kmath_xformLinear_getInverse(&xform->linear, &linear);
    if (failed(status) || failed(status = createLinear(linear, &inverse))) return status;
  } else {
    const ksys_status status = create(Kind::inverse, &inverse);
    if (failed(status)) return status;
    inverse->outer = retained(xform);
    inverse->depth = xform->depth;
  }
  replace(to, inverse);
  return 0;
}

ksys_status kmath_xformPtrhConst_construct(kmath_xformPtrhConst* handle) {
  handle->xform = nullptr;
  return 0;
}

ksys_status kmath_xformPtrhConst_constructLinear(kmath_xformPtrhConst* handle, const kmath_xformLinear* linear) {
  handle->xform = nullptr;
  kmath_xform* xform;
  const ksys_status status = createLinear(*linear, &xform);
  if (!failed(status)) handle->xform = xform;
  return status;
}

ksys_status kmath_xformPtrhConst_constructFunction(kmath_xformPtrhConst* handle,
                                                   void (*map)(void* context, const double in[2], double out[2]),
                                                   void (*unmap)(void* context, const double in[2], double out[2]),
                                                   void* context, void (*release)(void* context)) {
  handle->xform = nullptr;
  if (map == nullptr || unmap == nullptr) return KSYS_STATUS_BAD_ARGUMENT;
  kmath_xform* xform;
  const ksys_status status = create(Kind::function, &xform);
  if (failed(status)) return status;
  xform->map = map;
  xform->unmap = unmap;
  xform->context = context;
  xform->release = release;
  handle->xform = xform;
  return 0;
}

void kmath_xformPtrhConst_destruct(kmath_xformPtrhConst* handle) {
  replace(*handle, nullptr);
}

ksys_status kmath_xformPtrhConst_getIsLinear(const kmath_xformPtrhConst* handle, int32_t* linear) {
  *linear = isLinear(handle->xform);
  return 0;
}

ksys_status kmath_xformPtrhConst_getLinear(const kmath_xformPtrhConst* handle, const double point[2],
                                           kmath_xformLinear* linear) {
  if (!isLinear(handle->xform)) return linearize(handle->xform, point, *linear);
  *linear = linearOf(handle->xform);
  return 0;
}

ksys_status kmath_xformPtrhConst_assignCompose(kmath_xformPtrhConst* out, const kmath_xformPtrhConst* a,
                                               const kmath_xformPtrhConst* b) {
  if (a->xform == nullptr || b->xform == nullptr) {
    kiphost::assign(*out, a->xform == nullptr ? *b : *a);
    return 0;
  }
  Reference composed;
  const ksys_status status = compose(a->xform, b->xform, composed);
  if (!failed(status)) replace(*out, composed.take());
  return status;
}

ksys_status kmath_xformPtrhConst_assignComposePtrhLinear(kmath_xformPtrhConst* out, const kmath_xformPtrhConst* a,
                                                         const kmath_xformLinear* b) {
  kmath_xformPtrhConst inner;
  ksys_status status = kmath_xformPtrhConst_constructLinear(&inner, b);
  if (failed(status)) return status;
  status = kmath_xformPtrhConst_assignCompose(out, a, &inner);
  kmath_xformPtrhConst_destruct(&inner);
  return status;
}

ksys_status kmath_xformPtrhConst_mapPoint(const kmath_xformPtrhConst* handle, const double in[2], double out[2]) {
  return apply(handle->xform, false, in, out);
}
