// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kip::tool {

// Puts something in the place of standard input, output and error where they are closed, so that no file gets their
// numbers and with them what is meant for the user. What is read or written there then fails as on a closed one. To be
// called first thing.
void occupyStandardStreams();

}  // namespace kip::tool
