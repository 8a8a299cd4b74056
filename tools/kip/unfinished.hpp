// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kip::tool {

// To be called once, early: the signals that end a program, crashes included, then remove first what is unfinished.
// Those that are ignored stay so, and a file that outgrows its limit is an error of the write.
void prepareSignals();

// What is to be removed in that case, until it is forgotten: a file, or a folder if it is empty by then. These and
// those below are called by the main thread, with the signals held from before it is made.
void rememberUnfinished(const std::string& path);
void forgetUnfinished(const std::string& path);

// Several files that are moved to their names, all or none: a crash before the last move takes them back, to the file
// that was kept or, where that name is empty, to none. After finishMoves it removes what was kept.
void startMoves();
void rememberMove(const std::string& path, const std::string& kept);
void finishMoves();
void forgetMove(const std::string& path);

// Signals that tell the program to end wait as long as one of these lives, those of crashes too unless it is one.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
};

}  // namespace kip::tool
