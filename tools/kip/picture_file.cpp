// SPDX-License-Identifier: Apache-2.0
#include "picture_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>

#include "error.hpp"
#include "message.hpp"
#include "pgm_file.hpp"
#include "png_file.hpp"
#include "tiff_file.hpp"

namespace kip::tool {
namespace {

// A word for the shell.
std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char c : word) text += c == '\'' ? "'\\''" : std::string(1, c);
  return text + "'";
}

// A command that makes a new file of this one. With a folder in front no name is taken for an option or a format.
std::string conversionAdvice(const std::string& name) {
  const std::filesystem::path path(name);
  const std::string in = path.has_parent_path() ? name : "./" + name;
  const std::string out = (path.has_parent_path() ? path.parent_path() : ".") / path.stem();
  // nobody can copy other names
  if (printable(name) != name) return "";
  return "; make a grey one of it, for example with ImageMagick: convert " + quoted(in + "[0]") +
         " -colorspace Gray -alpha off " + quoted(out + "-grey.png");
}

// Runs `work` and puts the file's name in front of what it throws.
template <typename Work>
auto named(const std::string& name, const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw Error(name + ": not enough memory");
  } catch (const ConvertibleError& error) {
    throw Error(name + ": " + error.what() + conversionAdvice(name));
  } catch (const std::exception& error) {
    throw Error(name + ": " + error.what());
  }
}

std::FILE* openRegular(const std::string& name) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(name, error);
  if (error) throw Error(name + ": " + error.message());
  if (std::filesystem::is_directory(status)) throw Error(name + ": is a directory");
  if (!std::filesystem::is_regular_file(status)) throw Error(name + ": is not a regular file");
  std::FILE* const file = std::fopen(name.c_str(), "rbe");
  if (file == nullptr) throw Error(name + ": " + std::strerror(errno));
  return file;
}

std::unique_ptr<PictureReader> openByContent(std::FILE* file, std::vector<std::string>& notes) {
  using namespace std::string_view_literals;
  char bytes[8];
  const std::string_view head(bytes, std::fread(bytes, 1, sizeof bytes, file));
  if (std::ferror(file) != 0) throw Error(std::strerror(errno));
  if (head.empty()) throw Error("is empty");
  std::rewind(file);
  if (head == "\x89PNG\r\n\x1a\n"sv) return openPng(file);
  for (const auto magic : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}) {
    if (head.starts_with(magic)) return openTiff(file, notes);
  }
  if (head.starts_with("P2") || head.starts_with("P5")) return openPgm(file);
  if (head.starts_with("P3") || head.starts_with("P6")) refuseConvertible("a colour picture");
  throw Error("is neither a PNG, a TIFF nor a PGM file");
}

}  // namespace

Format formatOfName(const std::string& name) {
  std::string extension = std::filesystem::path(name).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (extension == ".png") return Format::png;
  if (extension == ".tif" || extension == ".tiff") return Format::tiff;
  if (extension == ".pgm") return Format::pgm;
  throw UsageError(name + ": the name of a picture to write ends in .png, .tif, .tiff or .pgm");
}

InputPicture::InputPicture(const std::string& name) : name_(name), file_(openRegular(name), std::fclose) {
  reader_ = named(name_, [&] { return openByContent(file_.get(), notes_); });
}

void InputPicture::read(int32_t first, int32_t count, Picture& to, int32_t at) {
  named(name_, [&] { reader_->read(first, count, to, at); });
}

Picture InputPicture::readAll() {
  return named(name_, [&] {
    Picture picture = Picture::make(size().width, size().height, size().depth);
    reader_->read(0, picture.height, picture, 0);
    return picture;
  });
}

OutputPicture::OutputPicture(OutputFile& file, Format format, const PictureSize& size) : file_(file) {
  const auto start = format == Format::png ? startPng : format == Format::tiff ? startTiff : startPgm;
  writer_ = named(file.name(), [&] { return start(file.stream(), size); });
}

void OutputPicture::write(const Picture& picture, int32_t first, int32_t count) {
  named(file_.name(), [&] {
    for (int32_t y = first; y < first + count; ++y) writer_->writeRow(picture.row(y));
  });
}

void OutputPicture::finish() {
  named(file_.name(), [&] { writer_->finish(); });
  file_.finish();
}

Picture readPicture(const std::string& name, std::vector<std::string>& notes) {
  InputPicture input(name);
  notes.insert(notes.end(), input.notes().begin(), input.notes().end());
  return input.readAll();
}

void writePicture(OutputFile& file, Format format, const Picture& picture) {
  OutputPicture output(file, format, picture);
  output.write(picture, 0, picture.height);
  output.finish();
}

}  // namespace kip::tool
