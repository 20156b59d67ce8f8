#include "support/Files.h"
#include "support/Interpose.h"

#include <quarryauth/authentication.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cctype>
#include <string>
#include <vector>

namespace qa = quarry::authentication;
using quarry_test::ListDirectory;
using quarry_test::Mode;
using quarry_test::ReadFile;
using quarry_test::WriteFile;

// This program stands in for a few system calls so that tests can see the
// order of flushes and renames and make chmod fail. Off by default.
namespace {
bool gRecordCalls = false;
bool gFailChmod = false;
std::vector<std::string> gCalls;

std::string DescriptorPath(int descriptor) {
  char link[64];
  char target[PATH_MAX];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t length = ::readlink(link, target, sizeof target - 1);
  if (length < 0) return "?";
  return std::string(target, static_cast<std::size_t>(length));
}
}  // namespace

QUARRY_TEST_INTERPOSE int fsync(int descriptor) {
  if (gRecordCalls) gCalls.push_back("fsync " + DescriptorPath(descriptor));
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

QUARRY_TEST_INTERPOSE int rename(const char* from, const char* to) noexcept {
  if (gRecordCalls) gCalls.push_back(std::string("rename ") + to);
  return static_cast<int>(::syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}

QUARRY_TEST_INTERPOSE int chmod(const char* path, mode_t mode) noexcept {
  if (gFailChmod) {
    errno = EPERM;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

namespace {

const std::string kDirectory = "/etc/quarry/quarryauth";
const std::string kTarget = kDirectory + "/target.conf";

// True when name is base + "." + six letters or digits, as mkstemp makes it.
bool IsGeneratedName(const std::string& name, const std::string& base) {
  if (name.size() != base.size() + 7 || name.compare(0, base.size(), base) != 0 ||
      name[base.size()] != '.') {
    return false;
  }
  for (std::size_t i = base.size() + 1; i < name.size(); ++i) {
    if (!std::isalnum(static_cast<unsigned char>(name[i]))) return false;
  }
  return true;
}

std::vector<std::string> TemporaryFilesBeside() {
  std::vector<std::string> found;
  for (const std::string& name : ListDirectory(kDirectory)) {
    if (IsGeneratedName(name, "target.conf")) found.push_back(name);
  }
  return found;
}

TEST(AtomicFileStream, ReplacingKeepsMode0644) {
  WriteFile(kTarget, "old\n");
  ASSERT_EQ(::chmod(kTarget.c_str(), 0644), 0);
  qa::AtomicFileStream out(kTarget.c_str());
  out << "new\n";
  out.Commit();
  EXPECT_EQ(ReadFile(kTarget), "new\n");
  EXPECT_EQ(Mode(kTarget), 0644u);
  EXPECT_TRUE(TemporaryFilesBeside().empty());
}

TEST(AtomicFileStream, NewFileGetsMode0600) {
  qa::AtomicFileStream out(kTarget.c_str());
  out << "fresh\n";
  EXPECT_NO_THROW(out.Commit());
  EXPECT_EQ(ReadFile(kTarget), "fresh\n");
  EXPECT_EQ(Mode(kTarget), 0600u);
}

TEST(AtomicFileStream, TemporaryFileIsBesideTheTarget) {
  qa::AtomicFileStream out(kTarget.c_str());
  EXPECT_TRUE(IsGeneratedName(out.TemporaryPath(), kTarget));
  EXPECT_EQ(out.TargetPath(), kTarget);
  EXPECT_EQ(Mode(out.TemporaryPath()), 0600u);
}

TEST(AtomicFileStream, WithoutCommitTargetStaysAndTemporaryFileIsLeft) {
  WriteFile(kTarget, "old\n");
  {
    qa::AtomicFileStream out(kTarget.c_str());
    out << "never committed\n";
  }
  EXPECT_EQ(ReadFile(kTarget), "old\n");
  const std::vector<std::string> leftovers = TemporaryFilesBeside();
  ASSERT_EQ(leftovers.size(), 1u);
  EXPECT_EQ(ReadFile(kDirectory + "/" + leftovers[0]), "never committed\n");
}

TEST(AtomicFileStream, TargetInMissingDirectoryFailsInOpen) {
  try {
    qa::AtomicFileStream out("/etc/quarry/missing/target.conf");
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_STREQ(error.what(),
                 "Unable to create temporary file to write "
                 "'/etc/quarry/missing/target.conf': No such file or "
                 "directory");
  }
}

TEST(AtomicFileStream, OverlongPathIsRefusedByTheTemplate) {
  const std::string path = kDirectory + "/" + std::string(4100, 'x');
  try {
    qa::AtomicFileStream out(path.c_str());
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_EQ(std::string(error.what()),
              "Unable to create temporary file to write '" + path +
                  "': Invalid argument");
  }
}

TEST(AtomicFileStream, RenameFailureKeepsTargetAndTemporaryFile) {
  ASSERT_EQ(::mkdir(kTarget.c_str(), 0755), 0);
  WriteFile(kTarget + "/inside", "x");
  qa::AtomicFileStream out(kTarget.c_str());
  out << "data\n";
  const std::string temporary = out.TemporaryPath();
  try {
    out.Commit();
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_EQ(std::string(error.what()),
              "Unable to rename '" + temporary + "' to '" + kTarget +
                  "': Is a directory");
  }
  EXPECT_EQ(ReadFile(temporary), "data\n");
  EXPECT_EQ(ReadFile(kTarget + "/inside"), "x");
}

TEST(AtomicFileStream, UnreadableOldStatusReplacesAndWarns) {
  // A symbolic link loop cannot be examined, yet can be renamed over.
  ASSERT_EQ(::symlink("target.conf", kTarget.c_str()), 0);
  qa::AtomicFileStream out(kTarget.c_str());
  out << "data\n";
  try {
    out.Commit();
    FAIL();
  } catch (const qa::FilePermissionError& error) {
    EXPECT_STREQ(error.what(),
                 "Failed to save file permissions, file permissions may be "
                 "incorrect: Too many levels of symbolic links");
  }
  EXPECT_EQ(ReadFile(kTarget), "data\n");
}

TEST(AtomicFileStream, FailedChmodReplacesAndWarns) {
  WriteFile(kTarget, "old\n");
  qa::AtomicFileStream out(kTarget.c_str());
  out << "new\n";
  gFailChmod = true;
  try {
    out.Commit();
    gFailChmod = false;
    FAIL();
  } catch (const qa::FilePermissionError& error) {
    gFailChmod = false;
    EXPECT_STREQ(error.what(),
                 "Failed to save file permissions, file permissions may be "
                 "incorrect: Operation not permitted");
  }
  EXPECT_EQ(ReadFile(kTarget), "new\n");
}

TEST(AtomicFileStream, FailedCloseSetsFailStateAndStillReplaces) {
  quarry_test::Shell("mount -t tmpfs -o size=8k tmpfs " + kDirectory);
  WriteFile(kTarget, "old\n");
  qa::AtomicFileStream out(kTarget.c_str());
  out << std::string(64 * 1024, 'x');
  EXPECT_NO_THROW(out.Commit());
  EXPECT_TRUE(out.fail());
  EXPECT_NE(ReadFile(kTarget), "old\n");
}

TEST(AtomicFileStream, UnopenableTemporaryLeavesFailStateOnly) {
  // Asking for input on a write-only stream makes the buffer refuse to open.
  qa::AtomicFileStream out(kTarget.c_str(),
                           std::ios_base::in | std::ios_base::app |
                               std::ios_base::trunc);
  EXPECT_TRUE(out.fail());
  EXPECT_FALSE(quarry_test::Exists(kTarget));
}

TEST(AtomicFileStream, CommitFlushesDataBeforeRenameAndDirectoryAfter) {
  qa::AtomicFileStream out(kTarget.c_str());
  out << "durable\n";
  const std::string temporary = out.TemporaryPath();
  gCalls.clear();
  gRecordCalls = true;
  out.Commit();
  gRecordCalls = false;
  const std::vector<std::string> expected = {
      "fsync " + temporary, "rename " + kTarget, "fsync " + kDirectory};
  EXPECT_EQ(gCalls, expected);
}

}  // namespace
