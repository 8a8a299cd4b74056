// SPDX-License-Identifier: Apache-2.0
#include "unfinished.hpp"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
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
enum Use { none, unfinished, moved };
struct Entry {
  std::atomic_int use;
  char path[PATH_MAX];
  char kept[PATH_MAX];  // of a move
};
Entry entries[32];  // a pyramid has the most: its folder, a file for each level and a move
std::atomic_int held, waiting, movesAreFinished;

void takeBackOrFinish(const Entry& move) {
  if (movesAreFinished == 0) {
    if (move.kept[0] == '\0') {
      unlink(move.path);
    } else {
      std::rename(move.kept, move.path);
    }
  }
  unlink(move.kept);  // also there when both were names of one file
}

void removeAndEnd(int signal) {
  for (const Entry& entry : entries) {
    if (entry.use == unfinished) unlink(entry.path);
    if (entry.use == moved) takeBackOrFinish(entry);
  }
  for (const Entry& entry : entries) {
    if (entry.use == unfinished) rmdir(entry.path);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // takes effect on return
}

// It interrupts the main thread, or ends a program in which no other thread touches the files.
void onEnd(int signal, siginfo_t*, void*) {
  if (held == 0) {
    removeAndEnd(signal);
  } else {
    waiting = signal;
  }
}

// What others send can wait; the program's own cannot, and neither can its abort.
void onCrash(int signal, siginfo_t* cause, void* context) {
  if (cause->si_code == SI_USER || cause->si_code == SI_QUEUE) {
    onEnd(signal, cause, context);
  } else {
    removeAndEnd(signal);
  }
}

void handle(int signal, void (*handler)(int, siginfo_t*, void*), int flags) {
  struct sigaction action {};
  if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action.sa_sigaction = handler;
  action.sa_flags = flags | SA_SIGINFO;
  sigaction(signal, &action, nullptr);
}

void remember(Use use, const std::string& path, const std::string& kept) {
  for (Entry& entry : entries) {
    if (entry.use != none || path.size() >= sizeof entry.path || kept.size() >= sizeof entry.kept) continue;
    std::memcpy(entry.path, path.c_str(), path.size() + 1);
    std::memcpy(entry.kept, kept.c_str(), kept.size() + 1);
    entry.use = use;
    return;
  }
}

void forget(Use use, const std::string& path) {
  for (Entry& entry : entries) {
    if (entry.use == use && path == entry.path) entry.use = none;
  }
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
  for (const int signal : kCrashes) handle(signal, onCrash, SA_ONSTACK);
}

void rememberUnfinished(const std::string& path) {
  remember(unfinished, path, "");
}

void forgetUnfinished(const std::string& path) {
  forget(unfinished, path);
}

void startMoves() {
  movesAreFinished = 0;
}

void rememberMove(const std::string& path, const std::string& kept) {
  remember(moved, path, kept);
}

void finishMoves() {
  movesAreFinished = 1;
}

void forgetMove(const std::string& path) {
  forget(moved, path);
}

SignalsHeld::SignalsHeld() {
  ++held;
}

SignalsHeld::~SignalsHeld() {
  if (--held != 0) return;
  if (const int signal = waiting.exchange(0); signal != 0) std::raise(signal);
}

}  // namespace kip::tool
