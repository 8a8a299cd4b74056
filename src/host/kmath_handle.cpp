// SPDX-License-Identifier: Apache-2.0
#include "kmath_handle.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>

#include "counted.hpp"
#include "kmath_linear.hpp"
#include "status.hpp"

using kiphost::failed;

// Never changes after its creation, so threads may share it.
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
};

namespace {

using Kind = kmath_xform::Kind;

const kmath_xform* retained(const kmath_xform* xform) {
  if (xform != nullptr) xform->references.retain();
  return xform;
}

void release(const kmath_xform* xform) {
  if (xform == nullptr || !xform->references.release()) return;
  release(xform->outer);
  release(xform->inner);
  if (xform->release != nullptr) xform->release(xform->context);
  xform->~kmath_xform();
  ksys_memory_free_internal(&xform);
}

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

void apply(const kmath_xform* xform, bool backwards, const double in[2], double out[2]) {
  if (isLinear(xform)) {
    const kmath_xformLinear& linear = linearOf(xform);
    kiphost::mapBy(backwards ? kiphost::inverted(linear) : linear, in, out);
  } else if (xform->kind == Kind::function) {
    const double point[2] = {in[0], in[1]};  // the callback may write before it has read all
    (backwards ? xform->unmap : xform->map)(xform->context, point, out);
  } else if (xform->kind == Kind::composition) {
    double between[2];
    apply(backwards ? xform->outer : xform->inner, backwards, in, between);
    apply(backwards ? xform->inner : xform->outer, backwards, between, out);
  } else {
    apply(xform->outer, !backwards, in, out);
  }
}

// Value and slope at the point, the slope by central differences.
kmath_xformLinear linearized(const kmath_xform* xform, const double point[2]) {
  double slope[2][2];  // [along axis][of coordinate]
  for (int axis = 0; axis < 2; ++axis) {
    const double step = std::cbrt(DBL_EPSILON) * std::max(1.0, std::fabs(point[axis]));
    double before[2] = {point[0], point[1]}, after[2] = {point[0], point[1]};
    before[axis] -= step;
    after[axis] += step;
    const double distance = after[axis] - before[axis];
    apply(xform, false, before, before);
    apply(xform, false, after, after);
    for (int coordinate = 0; coordinate < 2; ++coordinate) {
      slope[axis][coordinate] = (after[coordinate] - before[coordinate]) / distance;
    }
  }
  double value[2];
  apply(xform, false, point, value);
  return {value[0] - (slope[0][0] * point[0] + slope[1][0] * point[1]),
          value[1] - (slope[0][1] * point[0] + slope[1][1] * point[1]),
          slope[0][0],
          slope[1][0],
          slope[0][1],
          slope[1][1]};
}

}  // namespace

void kiphost::assign(kmath_xformPtrhConst& to, const kmath_xformPtrhConst& from) {
  replace(to, retained(from.xform));
}

ksys_status kiphost::assignInverse(kmath_xformPtrhConst& to, const kmath_xformPtrhConst& from) {
  const kmath_xform* const xform = from.xform;
  if (xform == nullptr) {
    replace(to, nullptr);
    return 0;
  }
  if (xform->kind == Kind::inverse) {
    replace(to, retained(xform->outer));
    return 0;
  }
  kmath_xform* inverse;
  ksys_status status;
  if (xform->kind == Kind::linear) {
    kmath_xformLinear linear;
    status = kmath_xformLinear_getInverse(&xform->linear, &linear);
    if (!failed(status)) status = createLinear(linear, &inverse);
    if (failed(status)) return status;
  } else {
    status = create(Kind::inverse, &inverse);
    if (failed(status)) return status;
    inverse->outer = retained(xform);
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
  *linear = isLinear(handle->xform) ? linearOf(handle->xform) : linearized(handle->xform, point);
  return 0;
}

ksys_status kmath_xformPtrhConst_assignCompose(kmath_xformPtrhConst* out, const kmath_xformPtrhConst* a,
                                               const kmath_xformPtrhConst* b) {
  if (a->xform == nullptr || b->xform == nullptr) {
    kiphost::assign(*out, a->xform == nullptr ? *b : *a);
    return 0;
  }
  kmath_xform* xform;
  ksys_status status;
  if (isLinear(a->xform) && isLinear(b->xform)) {
    status = createLinear(kiphost::composed(a->xform->linear, b->xform->linear), &xform);
    if (failed(status)) return status;
  } else {
    status = create(Kind::composition, &xform);
    if (failed(status)) return status;
    xform->outer = retained(a->xform);
    xform->inner = retained(b->xform);
  }
  replace(*out, xform);
  return 0;
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
  apply(handle->xform, false, in, out);
  return 0;
}
