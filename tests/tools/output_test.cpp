// SPDX-License-Identifier: Apache-2.0
#include "output_file.hpp"

#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "made_files.hpp"
#include "run_kip.hpp"

namespace kip::test {
namespace {

using Names = std::vector<std::string>;

// A limit stands in for a full disk. A sheet that does not fit keeps the result back too.
TEST(Output, OfWhichOnlyAPartFitsIsNotLeft) {
  const Folder folder;
  makePng(folder / "in", {8, PNG_COLOR_TYPE_GRAY});
  for (const std::string name : {"out.png", "out.tif", "out.pgm"}) {
    const std::vector<std::string> plain = {"smooth", folder / "in", folder / name, "--sigma", "1", "--sample", "4"};
    std::vector<std::string> withSheet = plain;
    withSheet.insert(withSheet.end(), {"--sheet", folder / "sheet.png"});
    ASSERT_EQ(runKip(withSheet).code, 0);
    const size_t size = readBytes(folder / name).size(), sheetSize = readBytes(folder / "sheet.png").size();
    ASSERT_LT(size, sheetSize);
    for (const bool sheet : {false, true}) {
      writeBytes(folder / name, "old");
      writeBytes(folder / "sheet.png", "old");
      const Outcome outcome = runKip(sheet ? withSheet : plain, (sheet ? sheetSize : size) - 1);
      EXPECT_EQ(outcome.code, 1);
      EXPECT_EQ(outcome.err, "kip: " + folder / (sheet ? "sheet.png" : name) + ": cannot write: File too large\n");
      EXPECT_EQ(readBytes(folder / name), "old");
      EXPECT_EQ(readBytes(folder / "sheet.png"), "old");
      EXPECT_EQ(folder.names(), (Names{"in", name, "sheet.png"}));
    }
    std::filesystem::remove(folder / name);
  }
}

TEST(Output, MayBeTheInput) {
  const Folder folder;
  writeBytes(folder / "a.pgm", "P5\n3 1\n255\nabc");
  const mode_t mask = umask(0);
  umask(mask);
  ASSERT_EQ(chmod((folder / "a.pgm").c_str(), 0600), 0);
  EXPECT_EQ(runKip({"smooth", folder / "a.pgm", folder / "a.pgm", "--sigma", "0", "--scale", "0.5"}).code, 0);
  EXPECT_EQ(readBytes(folder / "a.pgm"), "P5\n3 1\n255\n112");
  EXPECT_EQ(folder.names(), Names{"a.pgm"});
  struct stat status;
  ASSERT_EQ(stat((folder / "a.pgm").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
}

TEST(Output, ThroughALinkReplacesWhatItPointsTo) {
  const Folder folder;
  writeBytes(folder / "in", "P5\n3 1\n255\nabc");
  writeBytes(folder / "file.pgm", "old");
  std::filesystem::create_symlink("file.pgm", folder / "link.pgm");
  EXPECT_EQ(runKip({"smooth", folder / "in", folder / "link.pgm", "--sigma", "0"}).code, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.pgm"));
  EXPECT_EQ(readBytes(folder / "file.pgm"), readBytes(folder / "in"));
}

TEST(Output, IsNotLeftWhenTheProgramIsToldToEnd) {
  const Folder folder;
  const pid_t child = fork();
  if (child == 0) {
    tool::prepareSignals();
    const tool::OutputFile first(folder / "first"), second(folder / "second");
    std::fputs("half", first.stream());
    std::fflush(first.stream());
    if (folder.names().size() != 2) _exit(1);
    std::raise(SIGTERM);
    _exit(2);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
  EXPECT_EQ(folder.names(), Names{});
}

}  // namespace
}  // namespace kip::test
