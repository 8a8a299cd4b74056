// SPDX-License-Identifier: Apache-2.0
#include "unfinished.hpp"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

namespace kip::tool {
namespace {

constexpr int kEnds[] = {
    SIGHUP,    SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGPOLL, SIGPROF, SIGXCPU, SIGVTALRM,
#ifdef SIGPWR
    SIGPWR,
#endif
#ifdef SIGSTKFLT
    SIGSTKFLT,
#endif
};
constexpr int kCrashes[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP};

// What a signal handler reads: plain memory and numbers without locks.
static_assert(std::atomic_int::is_always_lock_free);
struct Unfinished {
  std::atomic_int used;
  char path[PATH_MAX];
};
Unfinished unfinished[32];  // a pyramid has the most: its folder and a file for each level
std::atomic_int held, waiting;

void removeAndEnd(int signal) {
  for (const Unfinished& entry : unfinished) {
    if (entry.used != 0) unlink(entry.path);
  }
  for (const Unfinished& entry : unfinished) {
    if (entry.used != 0) rmdir(entry.path);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // takes effect on return
}

// It interrupts the main thread, or ends a program in which no other thread touches the files.
void onEnd(int signal) {
  if (held == 0) {
    removeAndEnd(signal);
  } else {
    waiting = signal;
  }
}

void handle(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigaction(signal, &action, nullptr);
}

}  // namespace

void prepareSignals() {
  std::signal(SIGXFSZ, SIG_IGN);
  // for a crash that has used up the stack
  static char room[1 << 16];
  stack_t stack{};
  if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_DISABLE) != 0) {
    stack = {};
    stack.ss_sp = room;
    stack.ss_size = sizeof room;
    sigaltstack(&stack, nullptr);
  }
  for (const int signal : kEnds) handle(signal, onEnd, SA_RESTART);
  for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) handle(signal, onEnd, SA_RESTART);
  for (const int signal : kCrashes) handle(signal, removeAndEnd, SA_ONSTACK);
}

void rememberUnfinished(const std::string& path) {
  for (Unfinished& entry : unfinished) {
    if (entry.used != 0 || path.size() >= sizeof entry.path) continue;
    std::memcpy(entry.path, path.c_str(), path.size() + 1);
    entry.used = 1;
    return;
  }
}

void forgetUnfinished(const std::string& path) {
  for (Unfinished& entry : unfinished) {
    if (entry.used != 0 && path == entry.path) entry.used = 0;
  }
}

SignalsHeld::SignalsHeld() {
  ++held;
}

SignalsHeld::~SignalsHeld() {
  if (--held != 0) return;
  if (const int signal = waiting.exchange(0); signal != 0) std::raise(signal);
}

}  // namespace kip::tool
