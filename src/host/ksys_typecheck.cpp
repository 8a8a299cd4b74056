// SPDX-License-Identifier: Apache-2.0
#include "kip/host/kimg.h"

// The parameter types are the check: a call with another type does not compile.
void ksys_typeCheck_kimg_image(const kimg_image*) {}
void ksys_typeCheck_kimg_image8(const kimg_image8*) {}
void ksys_typeCheck_kimg_image16(const kimg_image16*) {}
void ksys_typeCheckFunc_kimg_image(void (*)(kimg_image*)) {}
void ksys_typeCheck_kmath_xformPtrhConst(const kmath_xformPtrhConst*) {}
void ksys_typeCheckFunc_kmath_xformPtrhConst(void (*)(kmath_xformPtrhConst*)) {}
