// SPDX-License-Identifier: Apache-2.0
#include "outputs.hpp"

#include "error.hpp"

namespace kip::tool {

void Outputs::add(const std::string& name) {
  entries_.emplace_back(name);
  for (size_t i = 0; i + 1 < entries_.size(); ++i) {
    if (entries_[i].file.target() == entries_.back().file.target()) {
      throw UsageError(name + ": is the name of another result too");
    }
  }
}

void Outputs::addSheet(const std::string& name) {
  if (formatOfName(name) != Format::png) throw UsageError(name + ": the sheet is a PNG file");
  add(name);
}

OutputPicture& Outputs::start(const PictureSize& size) {
  Entry& entry = entries_.at(started_++);
  return entry.picture.emplace(entry.file, entry.format, size);
}

void Outputs::write(const Picture& picture) {
  start(picture).write(picture, 0, picture.height);
}

void Outputs::commit() {
  std::vector<OutputFile*> files;
  for (Entry& entry : entries_) {
    entry.picture->finish();
    files.push_back(&entry.file);
  }
  OutputFile::commit(files);
}

}  // namespace kip::tool
