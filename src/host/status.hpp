// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kip/host/ksys.h"

namespace kiphost {

[[nodiscard]] constexpr bool failed(ksys_status status) {
  return status < 0;
}

}  // namespace kiphost
