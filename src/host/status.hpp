// SPDX-License-Identifier: Apache-2.0
#ifndef KIP_SRC_HOST_STATUS_HPP
#define KIP_SRC_HOST_STATUS_HPP

#include "kip/host/ksys.h"

namespace kiphost {

[[nodiscard]] constexpr bool failed(ksys_status status) {
  return status < 0;
}

}  // namespace kiphost

#endif
