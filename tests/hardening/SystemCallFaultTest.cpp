// Every file that the library writes, written while one of the system
// calls that write, flush, rename or set permissions fails: call k fails
// for every k that a successful rewrite makes. The file then holds the old
// contents when the operation raised its failure, and the new contents in
// full when it returned or only warned about permissions.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "hardening/WrittenFiles.h"
#include "support/Interpose.h"

namespace {

// The calls of the library under the watched directory are counted while
// armed; the one numbered failAt fails with its errno value.
struct FaultPlan {
  bool armed = false;
  std::string directory;
  int calls = 0;
  int failAt = 0;
  std::map<std::string, int> callsByName;
};

FaultPlan gPlan;

bool IsWatched(const std::string& path) {
  const std::string& directory = gPlan.directory;
  return path.compare(0, directory.size(), directory) == 0 &&
         (path.size() == directory.size() || path[directory.size()] == '/');
}

std::string DescriptorPath(int descriptor) {
  char link[64];
  char target[PATH_MAX];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t length = ::readlink(link, target, sizeof target - 1);
  if (length < 0) return std::string();
  return std::string(target, static_cast<std::size_t>(length));
}

// True when this call is to fail; sets errno for it.
bool ShouldFail(const char* name, const std::string& path, int error) {
  if (!gPlan.armed || !IsWatched(path)) return false;
  ++gPlan.calls;
  ++gPlan.callsByName[name];
  if (gPlan.calls != gPlan.failAt) return false;
  errno = error;
  return true;
}

bool ShouldFailOn(const char* name, int descriptor, int error) {
  return gPlan.armed && ShouldFail(name, DescriptorPath(descriptor), error);
}

int OpenFile(const char* name, const char* path, int flags, va_list rest) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
    mode = static_cast<mode_t>(va_arg(rest, int));
  }
  if (ShouldFail(name, path, EACCES)) return -1;
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

}  // namespace

QUARRY_TEST_INTERPOSE int open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const int result = OpenFile("open", path, flags, rest);
  va_end(rest);
  return result;
}

QUARRY_TEST_INTERPOSE int open64(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const int result = OpenFile("open", path, flags, rest);
  va_end(rest);
  return result;
}

QUARRY_TEST_INTERPOSE int mkstemp(char* pattern) {
  using Mkstemp = int (*)(char*);
  static const Mkstemp real =
      reinterpret_cast<Mkstemp>(::dlsym(RTLD_NEXT, "mkstemp"));
  if (ShouldFail("mkstemp", pattern, ENOSPC)) return -1;
  return real(pattern);
}

QUARRY_TEST_INTERPOSE ssize_t write(int descriptor, const void* data,
                                    size_t size) {
  if (ShouldFailOn("write", descriptor, ENOSPC)) return -1;
  return ::syscall(SYS_write, descriptor, data, size);
}

QUARRY_TEST_INTERPOSE ssize_t writev(int descriptor, const struct iovec* parts,
                                     int count) {
  if (ShouldFailOn("write", descriptor, ENOSPC)) return -1;
  return ::syscall(SYS_writev, descriptor, parts, count);
}

QUARRY_TEST_INTERPOSE ssize_t pwrite64(int descriptor, const void* data,
                                       size_t size, off_t offset) {
  if (ShouldFailOn("write", descriptor, ENOSPC)) return -1;
  return ::syscall(SYS_pwrite64, descriptor, data, size, offset);
}

QUARRY_TEST_INTERPOSE int fsync(int descriptor) {
  if (ShouldFailOn("fsync", descriptor, EIO)) return -1;
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

QUARRY_TEST_INTERPOSE int fdatasync(int descriptor) {
  if (ShouldFailOn("fsync", descriptor, EIO)) return -1;
  return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

QUARRY_TEST_INTERPOSE int rename(const char* from, const char* to) noexcept {
  if (ShouldFail("rename", to, EIO)) return -1;
  return static_cast<int>(
      ::syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}

QUARRY_TEST_INTERPOSE int chmod(const char* path, mode_t mode) noexcept {
  if (ShouldFail("chmod", path, EPERM)) return -1;
  return static_cast<int>(::syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

QUARRY_TEST_INTERPOSE int fchmod(int descriptor, mode_t mode) noexcept {
  if (ShouldFailOn("chmod", descriptor, EPERM)) return -1;
  return static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

namespace {

using quarryauth_test::Contents;
using quarryauth_test::Describe;
using quarryauth_test::WriteResult;

class SystemCallFaults : public ::testing::TestWithParam<std::string> {
 protected:
  SystemCallFaults() : file(quarryauth_test::MakeWrittenFile(GetParam())) {
    file->SetUp();
    gPlan.directory = file->Directory();
  }

  // Rewrites the old file with call failAt failing (0: none fails).
  WriteResult RewriteFailing(int failAt) {
    file->WriteOld();
    gPlan.calls = 0;
    gPlan.failAt = failAt;
    gPlan.callsByName.clear();
    gPlan.armed = true;
    const WriteResult result = file->WriteNew();
    gPlan.armed = false;
    return result;
  }

  std::unique_ptr<quarryauth_test::WrittenFile> file;
};

TEST_P(SystemCallFaults, EveryFailingCallLeavesOldOrNewContents) {
  ASSERT_EQ(WriteResult::Written, RewriteFailing(0));
  ASSERT_EQ(Contents::New, file->Read());
  const int calls = gPlan.calls;
  // The rewrite is seen: its data is written and flushed.
  EXPECT_GT(gPlan.callsByName["write"], 0);
  EXPECT_GT(gPlan.callsByName["fsync"], 0);
  RecordProperty("calls", calls);

  for (int failAt = 1; failAt <= calls; ++failAt) {
    const WriteResult result = RewriteFailing(failAt);
    const Contents contents = file->Read();
    SCOPED_TRACE("call " + std::to_string(failAt) + " of " +
                 std::to_string(calls) + ": " + Describe(result) + ", " +
                 Describe(contents));
    switch (result) {
      case WriteResult::Refused:
        EXPECT_EQ(Contents::Old, contents);
        break;
      case WriteResult::Written:
      case WriteResult::PermissionsUncertain:
        EXPECT_EQ(Contents::New, contents);
        break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    WrittenFiles, SystemCallFaults,
    ::testing::ValuesIn(quarryauth_test::WrittenFileNames()),
    [](const ::testing::TestParamInfo<std::string>& info) {
      return quarryauth_test::IdentifierOf(info.param);
    });

}  // namespace
