// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <mutex>

namespace kiphost {

// The forking thread holds the mutex across every fork, so that a child finds it free and what it guards in order. To
// be called while the library is loaded; whoever holds the mutex takes no other one.
template <std::mutex& mutex>
int holdAcrossForks() {
  return pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });
}

}  // namespace kiphost
