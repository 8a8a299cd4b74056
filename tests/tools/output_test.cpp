// SPDX-License-Identifier: Apache-2.0
#include "output_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <deque>
#include <filesystem>
#include <functional>

#include "error.hpp"
#include "made_files.hpp"
#include "message.hpp"
#include "new_folder.hpp"
#include "run_kip.hpp"
#include "unfinished.hpp"

// Stand in for the C library's, so that a signal can come at a rename, and a file cannot be reached or removed.
static std::function<void()> atRename;
static int failureOfStat = 0, failureOfUnlink = 0;
extern "C" {
int rename(const char* from, const char* to) noexcept {
  if (atRename) atRename();
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}
int stat(const char* path, struct stat* status) noexcept {
  if (failureOfStat == 0) return fstatat(AT_FDCWD, path, status, 0);
  errno = failureOfStat;
  return -1;
}
int unlink(const char* path) noexcept {
  if (failureOfUnlink == 0) return unlinkat(AT_FDCWD, path, 0);
  errno = failureOfUnlink;
  return -1;
}
}

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
      const Outcome outcome = runKip(sheet ? withSheet : plain, limitFiles((sheet ? sheetSize : size) - 1));
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
  EXPECT_EQ(runKip({"smooth", folder / "a.pgm", folder / "a.pgm", "--sigma", "0", "--scale", "0.5"}).code, 0);
  EXPECT_EQ(readBytes(folder / "a.pgm"), "P5\n3 1\n255\n112");
  EXPECT_EQ(folder.names(), Names{"a.pgm"});
}

TEST(Output, ThroughALinkReplacesOrMakesWhatItPointsTo) {
  const Folder folder;
  writeBytes(folder / "in", "P5\n3 1\n255\nabc");
  writeBytes(folder / "file.pgm", "old");
  std::filesystem::create_directory(folder / "sub");
  for (const std::string to : {"file.pgm", "absent.pgm", "sub/absent.pgm", "sub/second.pgm"}) {
    std::filesystem::remove(folder / "link.pgm");
    std::filesystem::create_symlink(to == "sub/second.pgm" ? "sub/link" : to, folder / "link.pgm");
    if (to == "sub/second.pgm") std::filesystem::create_symlink("../sub/second.pgm", folder / "sub/link");
    const Outcome outcome = runKip({"smooth", folder / "in", folder / "link.pgm", "--sigma", "0"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.pgm"));
    EXPECT_EQ(readBytes(folder / to), readBytes(folder / "in")) << to;
  }
  std::filesystem::remove(folder / "link.pgm");
  std::filesystem::create_symlink("link.pgm", folder / "link.pgm");
  EXPECT_THROW(tool::OutputFile(folder / "link.pgm"), tool::Error);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.pgm"));
}

std::string failureOf(const std::string& name) {
  try {
    const tool::OutputFile file(name);
  } catch (const tool::Error& error) {
    return error.what();
  }
  return "is opened";
}

// As of a link of another user's in a folder that all may write.
TEST(Output, GoesThroughNoLinkThatTheSystemRefuses) {
  const Folder folder;
  std::filesystem::create_symlink("absent", folder / "link");
  failureOfStat = EACCES;
  const std::string failure = failureOf(folder / "link");
  failureOfStat = 0;
  EXPECT_EQ(failure, folder / "link" + ": cannot write: Permission denied");

  writeBytes(folder / "in", "P5\n3 1\n255\nabc");
  const auto enterNowhere = [&] {
    const std::string gone = folder / "gone";
    if (mkdir(gone.c_str(), 0700) != 0 || chdir(gone.c_str()) != 0 || rmdir(gone.c_str()) != 0) _exit(9);
  };
  EXPECT_EQ(runKip({"smooth", folder / "in", "out.pgm", "--sigma", "0"}, enterNowhere).err,
            "kip: out.pgm: cannot write: No such file or directory\n");
  EXPECT_EQ(folder.names(), (Names{"in", "link"}));
}

// Without the rights of root, which owns what tests make.
class AsNobody {
 public:
  AsNobody() : root_(geteuid() == 0) {
    if (root_ && (setegid(65534) != 0 || seteuid(65534) != 0)) std::abort();
  }
  ~AsNobody() {
    if (root_ && (seteuid(0) != 0 || setegid(0) != 0)) std::abort();
  }

 private:
  bool root_;
};

struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status;
}

mode_t modeOf(const std::string& path) {
  return statusOf(path).st_mode & 07777;
}

// Replaces or makes a file; the one that is written grants no more than `most` at any time.
void writeNew(const Folder& folder, const std::string& name, mode_t most) {
  const Names before = folder.names();
  tool::OutputFile file(folder / name);
  std::fputs("new", file.stream());
  std::string temporary;
  for (const std::string& other : folder.names()) {
    if (std::find(before.begin(), before.end(), other) == before.end()) temporary = other;
  }
  EXPECT_EQ(modeOf(folder / temporary) & ~most, 0u) << name;
  file.finish();
  EXPECT_EQ(modeOf(folder / temporary) & ~most, 0u) << name;
  file.commit();
  EXPECT_EQ(readBytes(folder / name), "new");
}

TEST(Output, HasTheRightsOfWhatItReplaces) {
  const Folder folder;
  const mode_t mask = umask(027);
  writeNew(folder, "new", 0640);
  EXPECT_EQ(modeOf(folder / "new"), 0640u);
  for (const mode_t mode : {0600u, 0644u, 0666u, 02660u, 0755u, 0640u}) {
    ASSERT_EQ(chmod((folder / "new").c_str(), mode), 0);
    writeNew(folder, "new", mode);
    EXPECT_EQ(modeOf(folder / "new"), mode);
  }
  umask(mask);

  // read by user 5 and by no group, as the list's mask does not tell
  const std::string list(
      "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\4\0\5\0\0\0\4\0\0\0\xff\xff\xff\xff"
      "\x10\0\4\0\xff\xff\xff\xff\x20\0\0\0\xff\xff\xff\xff",
      44);
  constexpr char kList[] = "system.posix_acl_access";
  if (setxattr((folder / "new").c_str(), kList, list.data(), list.size(), 0) == 0) {  // not in every file system
    writeNew(folder, "new", 0640);
    char kept[100];
    const ssize_t size = getxattr((folder / "new").c_str(), kList, kept, sizeof kept);
    EXPECT_TRUE(std::string(kept, static_cast<size_t>(std::max<ssize_t>(size, 0))) == list) << size;
  }

  if (geteuid() != 0) return;
  ASSERT_EQ(chown((folder / "new").c_str(), 12345, 54321), 0);
  writeNew(folder, "new", 0640);
  EXPECT_EQ(statusOf(folder / "new").st_uid, 12345u);
  EXPECT_EQ(statusOf(folder / "new").st_gid, 54321u);
  // neither can be kept: group and others get what both had
  ASSERT_EQ(chmod((folder / "").c_str(), 0777), 0);
  for (const auto& [mode, left] : {std::pair<mode_t, mode_t>{0676, 0666}, {0606, 0600}}) {
    const std::string name = "other" + std::to_string(mode);
    writeBytes(folder / name, "old");
    ASSERT_EQ(chown((folder / name).c_str(), 12345, 54321), 0);
    ASSERT_EQ(chmod((folder / name).c_str(), mode), 0);
    const AsNobody nobody;
    writeNew(folder, name, mode);
    EXPECT_EQ(modeOf(folder / name), left);
  }
}

TEST(Output, ThatMustNotBeWrittenIsRefused) {
  const Folder folder;
  ASSERT_EQ(chmod((folder / "").c_str(), 0777), 0);
  writeBytes(folder / "kept", "old");
  ASSERT_EQ(chmod((folder / "kept").c_str(), 0444), 0);
  const AsNobody nobody;
  EXPECT_EQ(failureOf(folder / "kept"), folder / "kept" + ": cannot write: Permission denied");
  EXPECT_EQ(folder.names(), Names{"kept"});
}

// The second or third one cannot be moved to where a folder has come to stand.
TEST(Output, OfSeveralIsThereWithAllOrNot) {
  for (const size_t failing : {1u, 2u}) {
    const Folder folder;
    const Names names = {"a", "b", "c"};
    writeBytes(folder / "a", "old");
    {
      std::deque<tool::OutputFile> files;
      std::vector<tool::OutputFile*> all;
      for (const std::string& name : names) {
        files.emplace_back(folder / name);
        std::fputs("new", files.back().stream());
        files.back().finish();
        all.push_back(&files.back());
      }
      std::filesystem::create_directory(folder / names[failing]);
      EXPECT_THROW(tool::OutputFile::commit(all), tool::Error);
    }
    EXPECT_EQ(readBytes(folder / "a"), "old");
    EXPECT_EQ(folder.names(), (Names{"a", names[failing]}));
  }
}

// Runs `work` in a child that is to end by `signal`.
void expectEnd(int signal, const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(signal, SIG_DFL);
    tool::prepareSignals();
    work();
    _exit(2);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << strsignal(signal) << ": " << status;
}

TEST(Output, IsNotLeftWhenASignalEndsTheProgram) {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM,
                           SIGPROF, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGRTMIN}) {
    const Folder folder;
    expectEnd(signal, [&] {
      const tool::NewFolder made(folder / "made");
      const tool::OutputFile first(folder / "first"), second(folder / "made/second");
      std::fputs("half", first.stream());
      std::fflush(first.stream());
      if (folder.names().size() != 2) _exit(1);
      std::raise(signal);
    });
    EXPECT_EQ(folder.names(), Names{});
  }
}

// A signal comes before the last of three is moved. One that is sent waits; a crash takes back what was moved.
TEST(Output, IsWholeWhenASignalComesInTheMiddle) {
  const auto expectWhole = [](int signal, bool isSent) {
    SCOPED_TRACE(std::string(strsignal(signal)) + (isSent ? ", sent" : ""));
    const Folder folder;
    writeBytes(folder / "a", "old");
    expectEnd(signal, [&] {
      tool::NewFolder made(folder / "made");
      const tool::SignalsHeld held;
      tool::OutputFile a(folder / "a"), b(folder / "made/b"), c(folder / "made/c");
      for (tool::OutputFile* file : {&a, &b, &c}) {
        std::fputs("new", file->stream());
        file->finish();
      }
      int moves = 0;
      atRename = [&] {
        if (++moves != 3) return;
        if (isSent) kill(getpid(), signal);
        if (!isSent) std::raise(signal);
      };
      tool::OutputFile::commit({&a, &b, &c});
      made.keep();
    });
    EXPECT_EQ(readBytes(folder / "a"), isSent ? "new" : "old");
    EXPECT_EQ(folder.names(), isSent ? (Names{"a", "made"}) : Names{"a"});
    if (!isSent) return;
    EXPECT_EQ(readBytes(folder / "made/b") + readBytes(folder / "made/c"), "newnew");
  };
  expectWhole(SIGTERM, true);
  for (const int signal : {SIGABRT, SIGBUS, SIGSEGV, SIGSYS, SIGTRAP}) {
    for (const bool isSent : {false, true}) expectWhole(signal, isSent);
  }
}

TEST(Output, SaysWhenWhatItReplacedStays) {
  const Folder folder;
  writeBytes(folder / "a", "old");
  tool::OutputFile a(folder / "a"), b(folder / "b");
  for (tool::OutputFile* file : {&a, &b}) file->finish();
  failureOfUnlink = EPERM;
  testing::internal::CaptureStderr();
  tool::OutputFile::commit({&a, &b});
  failureOfUnlink = 0;
  EXPECT_NE(testing::internal::GetCapturedStderr().find(".tmp.old: note: "), std::string::npos);
}

// What is meant for the user must not get into a file that got a closed stream's number.
TEST(Output, HoldsNothingElseWhenStreamsAreClosed) {
  const Folder folder;
  makeTiff(folder / "in", {.bits = 8, .pages = 2});
  const std::vector<std::string> command = {"smooth", folder / "in", folder / "out.pgm", "--sigma", "1", "--verbose"};
  ASSERT_EQ(runKip(command).code, 0);
  const std::string whole = readBytes(folder / "out.pgm");
  for (int closed = 1; closed < 8; ++closed) {
    const auto close3 = [closed] {
      for (int stream = 0; stream < 3; ++stream) {
        if ((closed >> stream & 1) != 0) close(stream);
      }
    };
    EXPECT_EQ(runKip(command, close3).code, 0);
    EXPECT_TRUE(readBytes(folder / "out.pgm") == whole) << closed;
    EXPECT_EQ(runKip({"info"}, close3).code, (closed & 2) != 0 ? 1 : 0) << closed;
  }
}

// In a note, a failure and a wrong option alike.
TEST(Messages, AreOneLineThatDoesNothingToATerminal) {
  const std::pair<const char*, const char*> texts[] = {
      {"\x1b[31mred\a\r\n\x7f", "?[31mred????"},
      {"\u009b31m \u0085", "?31m ?"},                                 // C1
      {"\xff \xc3 \xe2\x82 \xc0\x80 \xed\xa0\x80", "? ? ?? ?? ???"},  // no UTF-8
      {"\u202egpj \u2028", "?gpj ?"},
      {"sch\u00f6n \u4f60\u597d \U0001F600.png", "sch\u00f6n \u4f60\u597d \U0001F600.png"},
  };
  const Folder folder;
  for (const auto& [text, clean] : texts) {
    EXPECT_EQ(tool::printable(text), clean);
    const std::string in = folder / text, shown = folder / clean;
    makeTiff(in, {.bits = 8, .pages = 2});
    EXPECT_EQ(runKip({"smooth", in, folder / "out.pgm", "--sigma", "0"}).err,
              "kip: " + shown + ": note: has more than one page; the first one is taken\n");
    EXPECT_EQ(runKip({"smooth", in, in, "--sigma", "0"}).err.find("kip: " + shown + ": "), 0u);
    EXPECT_EQ(runKip({"smooth", in + "x", folder / "out.pgm", "--sigma", "0"}).err,
              "kip: " + shown + "x: No such file or directory\n");
    EXPECT_NE(runKip({"info", std::string("--") + text}).err.find(clean), std::string::npos);
  }
}

}  // namespace
}  // namespace kip::test
