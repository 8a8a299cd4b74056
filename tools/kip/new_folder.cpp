// SPDX-License-Identifier: Apache-2.0
#include "new_folder.hpp"

#include <filesystem>

#include "error.hpp"
#include "unfinished.hpp"

namespace kip::tool {

namespace fs = std::filesystem;

NewFolder::NewFolder(const std::string& name) : name_(name) {
  const SignalsHeld held;
  std::error_code error;
  made_ = fs::create_directory(name, error);
  if (made_) {
    rememberUnfinished(name_);
  } else if (std::error_code none; !fs::is_directory(name, none)) {
    throw Error(name + ": " + (fs::exists(name, none) ? "is not a folder" : error.message()));
  }
}

NewFolder::~NewFolder() {
  if (!made_) return;
  const SignalsHeld held;
  std::error_code error;
  fs::remove(name_, error);
  forgetUnfinished(name_);
}

void NewFolder::keep() {
  made_ = false;
  forgetUnfinished(name_);
}

}  // namespace kip::tool
