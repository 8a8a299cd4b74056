// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/host/kmath.h"

namespace kiphost {

// Makes the constructed handle `to` refer to what `from` refers to.
void assign(kmath_xformPtrhConst& to, const kmath_xformPtrhConst& from);

// Makes the constructed handle `to` refer to the inverse; unchanged on failure. Both may be the same.
ksys_status assignInverse(kmath_xformPtrhConst& to, const kmath_xformPtrhConst& from);

}  // namespace kiphost
