// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <csignal>
#include <mutex>

namespace kiphost {

// Whether this thread holds or awaits one of the mutexes below. A signal handler that forks may have interrupted it
// there, and then it must not wait for them.
inline constinit thread_local volatile std::sig_atomic_t isAtGuarded = 0;

// Locks a mutex that is held across forks; whoever holds it takes no other one.
template <std::mutex& guarded>
class GuardedLock : public std::unique_lock<std::mutex> {
 public:
  GuardedLock() : unique_lock(guarded, std::defer_lock) { lock(); }
  ~GuardedLock() {
    if (owns_lock()) unlock();
  }
  GuardedLock(const GuardedLock&) = delete;
  GuardedLock& operator=(const GuardedLock&) = delete;

  void lock() {
    isAtGuarded = 1;
    unique_lock::lock();
  }
  void unlock() {
    unique_lock::unlock();
    isAtGuarded = 0;
  }
};

// The forking thread holds the mutex across the fork, so that a child finds it free and what it guards in order; but
// for a fork in a signal handler that came at such a mutex, where it holds what it gets.
template <std::mutex& guarded>
class HeldAcrossFork {
 public:
  static void before() {
    isHeld_ = isAtGuarded == 0;
    if (isHeld_) {
      guarded.lock();
    } else {
      isHeld_ = pthread_mutex_trylock(guarded.native_handle()) == 0;  // which, unlike try_lock, its holder may call
    }
  }
  static void after() {
    if (isHeld_) guarded.unlock();
  }

 private:
  inline static constinit thread_local bool isHeld_ = false;
};

// To be called while the library is loaded.
template <std::mutex& guarded>
int holdAcrossForks() {
  return pthread_atfork(HeldAcrossFork<guarded>::before, HeldAcrossFork<guarded>::after,
                        HeldAcrossFork<guarded>::after);
}

}  // namespace kiphost
