/* SPDX-License-Identifier: Apache-2.0 */
/* The host's math library: legacy and double-precision transforms, transform handles and numeric helpers. For
 * hosts, and for callers who give images client coordinates: begin at kmath_xformPtrhConst_constructLinear. */
#ifndef KIP_HOST_KMATH_H
#define KIP_HOST_KMATH_H

#include "ksys.h"

KSYS_DECLARATIONS_BEGIN

/* ---- legacy transforms: p -> M p + t, M = (m00 m01; m10 m11) ---- */

typedef struct ksFXform {
  float tx, ty, m00, m01, m10, m11;
} ksFXform;

/* Each element is computed in double from the float inputs and rounded once; a zero translation is +0. Outputs may be
 * the same record as an input. */
void ksFXformElemCT(ksFXform* out, float m00, float m01, float m10, float m11, float tx, float ty);
/* A singular matrix gives non-finite elements. */
void ksFXformInv(const ksFXform* in, ksFXform* out);
/* out(p) = a(b(p)) */
void ksFXformCompose(const ksFXform* a, const ksFXform* b, ksFXform* out);

/* ---- linear transforms in double precision ---- */

typedef struct kmath_xformLinear {
  double tx, ty, m00, m01, m10, m11;
} kmath_xformLinear;

ksys_status kmath_xformLinear_initMatrixTransElements(kmath_xformLinear* out, double m00, double m01, double m10,
                                                      double m11, double tx, double ty);
/* KSYS_STATUS_NOT_INVERTIBLE for a singular matrix; *out is then unchanged. */
ksys_status kmath_xformLinear_getInverse(const kmath_xformLinear* in, kmath_xformLinear* out);
/* out(p) = a(b(p)) */
ksys_status kmath_xformLinear_initCompose(kmath_xformLinear* out, const kmath_xformLinear* a,
                                          const kmath_xformLinear* b);

/* ---- transform handles: a counted reference to a shared, unchanging transform that may be non-linear ---- */

typedef struct kmath_xformPtrhConst {
  const struct kmath_xform* xform; /* the host's; null: the identity */
} kmath_xformPtrhConst;

/* A constructed handle refers to the identity until it is filled. What constructs a handle needs a record that is not
 * constructed yet; what assigns, needs a constructed one. */
ksys_status kmath_xformPtrhConst_construct(kmath_xformPtrhConst* handle);
ksys_status kmath_xformPtrhConst_constructLinear(kmath_xformPtrhConst* handle, const kmath_xformLinear* linear);
/* A transform given by a pair of callbacks, each the other's inverse; `release` (may be null) is called once with
 * `context` when the last reference goes. On failure `context` stays the caller's. */
ksys_status kmath_xformPtrhConst_constructFunction(kmath_xformPtrhConst* handle,
                                                   void (*map)(void* context, const double in[2], double out[2]),
                                                   void (*unmap)(void* context, const double in[2], double out[2]),
                                                   void* context, void (*release)(void* context));
/* Also of a destructed handle and of a record of zeros. */
void kmath_xformPtrhConst_destruct(kmath_xformPtrhConst* handle);
ksys_status kmath_xformPtrhConst_getIsLinear(const kmath_xformPtrhConst* handle, int32_t* isLinear);
/* The linear transform that agrees with the handle's in value and slope at `point`; a linear handle's own, unchanged.
 * Fails only of a composition of more than 16 and when memory is short, *linear unchanged; so does mapPoint. */
ksys_status kmath_xformPtrhConst_getLinear(const kmath_xformPtrhConst* handle, const double point[2],
                                           kmath_xformLinear* linear);
/* out(p) = a(b(p)); `out` is assigned and may be a or b; it stays as it is on failure. Linear transforms that meet
 * become one, so that a transform may be composed with linear ones without end; others may be composed as long as
 * memory lasts, since nothing recurses over them. */
ksys_status kmath_xformPtrhConst_assignCompose(kmath_xformPtrhConst* out, const kmath_xformPtrhConst* a,
                                               const kmath_xformPtrhConst* b);
ksys_status kmath_xformPtrhConst_assignComposePtrhLinear(kmath_xformPtrhConst* out, const kmath_xformPtrhConst* a,
                                                         const kmath_xformLinear* b);
ksys_status kmath_xformPtrhConst_mapPoint(const kmath_xformPtrhConst* handle, const double in[2], double out[2]);

/* Type checks: called on a handle and its destructor before they go onto a clean-up stack. */
void ksys_typeCheck_kmath_xformPtrhConst(const kmath_xformPtrhConst* object);
void ksys_typeCheckFunc_kmath_xformPtrhConst(void (*destructor)(kmath_xformPtrhConst*));

/* ---- numeric helpers ---- */

/* n / d rounded so that the remainder n - q d lies in [0, |d|); d is not 0. A quotient outside 32 bits saturates. */
int32_t kmath_idiv(int32_t n, int32_t d);
/* x rounded up; what 32 bits cannot hold saturates, not-a-number gives 0. */
int32_t kmath_double_ceil(double x);
/* 1 when a and b differ by at most epsilon, else 0; 0 when one is not a number. */
int32_t kmath_double_epsilonEqual(double a, double b, double epsilon);
/* The smaller one; b when one is not a number. */
double kxfDMin(double a, double b);
/* The larger one. */
int32_t kxfIMax(int32_t a, int32_t b);
/* The value, or the bound that it passes; `low` when the bounds cross. */
int32_t kxfILimit(int32_t value, int32_t low, int32_t high);

KSYS_DECLARATIONS_END

#endif
