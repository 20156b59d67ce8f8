// The host's state folder, as the configuration store and the plug-ins
// create it. Runs in the sandbox, where /var/lib/quarry does not exist.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/PrivateFolder.h"

namespace quarry::common {
namespace {

const char kFolder[] = "/var/lib/quarry";

unsigned Mode(const char* path) {
  struct stat status;
  if (::stat(path, &status) != 0) return 07777 + 1;
  return status.st_mode & 07777;
}

class PrivateFolderTest : public ::testing::Test {
 protected:
  void TearDown() override {
    ::umask(previousMask_);
    ::rmdir(kFolder);
  }
  const mode_t previousMask_ = ::umask(022);
};

TEST_F(PrivateFolderTest, CreatesTheFolderWithModeExactly0700) {
  for (const mode_t mask : {0000, 0022, 0077, 0777}) {
    ::umask(mask);
    ASSERT_EQ(CreatePrivateFolder(kFolder), 0);
    EXPECT_EQ(Mode(kFolder), 0700u) << "umask " << mask;
    ASSERT_EQ(::rmdir(kFolder), 0);
  }
}

TEST_F(PrivateFolderTest, LeavesAnExistingFoldersModeAlone) {
  ASSERT_EQ(::mkdir(kFolder, 0750), 0);
  ASSERT_EQ(::chmod(kFolder, 0750), 0);
  EXPECT_EQ(CreatePrivateFolder(kFolder), 0);
  EXPECT_EQ(Mode(kFolder), 0750u);
}

TEST_F(PrivateFolderTest, ReportsWhyItCannotCreateTheFolder) {
  EXPECT_EQ(CreatePrivateFolder("/nonexistent-parent/quarry"), ENOENT);
  EXPECT_EQ(CreatePrivateFolder("/etc/hostname/quarry"), ENOTDIR);
}

}  // namespace
}  // namespace quarry::common
