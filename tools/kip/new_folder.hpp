// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kip::tool {

// A folder that is made when it is not there, and removed again unless it is kept or holds something. Failures throw
// Error with the name in front.
class NewFolder {
 public:
  explicit NewFolder(const std::string& name);
  ~NewFolder();
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;

  void keep();

 private:
  std::string name_;
  bool made_;
};

}  // namespace kip::tool
