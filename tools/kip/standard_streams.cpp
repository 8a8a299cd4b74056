// SPDX-License-Identifier: Apache-2.0
#include "standard_streams.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace kip::tool {

void occupyStandardStreams() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    // the lowest free number is the one that is missing
    if (open("/dev/null", descriptor == 0 ? O_WRONLY : O_RDONLY) != descriptor) _exit(1);
  }
}

}  // namespace kip::tool
