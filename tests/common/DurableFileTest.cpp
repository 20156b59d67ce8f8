// Durable replacement of a file, as the library's stores, the platform
// libraries, the plug-ins and the tool use it. Runs in the sandbox; the
// scratch folder is under /var/lib, which the sandbox overlays.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string>

#include "common/DurableFile.h"
#include "support/Files.h"

namespace quarry::common {
namespace {

const std::string kFolder = "/var/lib/quarry-common-test";

class DurableFileTest : public ::testing::Test {
 protected:
  void SetUp() override { quarry_test::Shell("mkdir -p " + kFolder); }
  void TearDown() override { quarry_test::Shell("rm -rf " + kFolder); }
};

TEST_F(DurableFileTest, CreatesANewFileWithTheModeAsked) {
  const std::string path = kFolder + "/new";
  ASSERT_EQ(ReplaceFileContents(path, "first\n", 0640), 0);
  EXPECT_EQ(quarry_test::ReadFile(path), "first\n");
  EXPECT_EQ(quarry_test::Mode(path), 0640u);
}

TEST_F(DurableFileTest, KeepsTheModeOfTheFileItReplaces) {
  const std::string path = kFolder + "/kept";
  quarry_test::WriteFile(path, "old\n");
  ASSERT_EQ(::chmod(path.c_str(), 0604), 0);
  ASSERT_EQ(ReplaceFileContents(path, "new\n", 0600), 0);
  EXPECT_EQ(quarry_test::ReadFile(path), "new\n");
  EXPECT_EQ(quarry_test::Mode(path), 0604u);
}

TEST_F(DurableFileTest, LeavesNoTemporaryFileBehind) {
  const std::string path = kFolder + "/only";
  ASSERT_EQ(ReplaceFileContents(path, "text", 0600), 0);
  EXPECT_EQ(quarry_test::ListDirectory(kFolder).size(), 1u);
}

// A folder that cannot be written: the error is reported, and the old file
// and the folder stay as they were.
TEST_F(DurableFileTest, ReportsAFailureAndKeepsTheOldFile) {
  const std::string path = kFolder + "/guarded";
  quarry_test::WriteFile(path, "old\n");
  quarry_test::Shell("mount -t tmpfs -o ro quarry-ro " + kFolder);
  EXPECT_EQ(ReplaceFileContents(path, "new\n", 0600), EROFS);
  quarry_test::Shell("umount " + kFolder);
  EXPECT_EQ(quarry_test::ReadFile(path), "old\n");
  EXPECT_EQ(quarry_test::ListDirectory(kFolder).size(), 1u);
}

TEST_F(DurableFileTest, RefusesAPathTooLongForATemporaryName) {
  const std::string path = kFolder + "/" + std::string(PATH_MAX, 'x');
  EXPECT_EQ(ReplaceFileContents(path, "text", 0600), EINVAL);
  EXPECT_TRUE(quarry_test::ListDirectory(kFolder).empty());
}

TEST_F(DurableFileTest, CreatesAPrivateTemporaryFileBesideThePath) {
  const std::string path = kFolder + "/target";
  std::string temporary;
  UniqueFd file;
  ASSERT_EQ(CreateTemporaryFileBeside(path, temporary, file), 0);
  EXPECT_TRUE(file.Valid());
  ASSERT_EQ(temporary.size(), path.size() + 7);
  EXPECT_EQ(temporary.substr(0, path.size() + 1), path + ".");
  EXPECT_EQ(temporary.find('X', path.size()), std::string::npos);
  EXPECT_EQ(quarry_test::Mode(temporary), 0600u);
  EXPECT_EQ(::write(file.Get(), "a", 1), 1);
  EXPECT_EQ(quarry_test::ReadFile(temporary), "a");
}

TEST_F(DurableFileTest, TemporaryFileInAMissingFolderGivesTheError) {
  std::string temporary = "unchanged";
  UniqueFd file;
  EXPECT_EQ(CreateTemporaryFileBeside(kFolder + "/missing/target", temporary,
                                      file),
            ENOENT);
  EXPECT_EQ(temporary, "unchanged");
  EXPECT_FALSE(file.Valid());
}

TEST_F(DurableFileTest, SyncsAFileAndItsFolderAndReportsAMissingOne) {
  const std::string path = kFolder + "/synced";
  quarry_test::WriteFile(path, "text");
  EXPECT_EQ(SyncFile(path), 0);
  EXPECT_EQ(SyncParentDirectory(path), 0);
  EXPECT_EQ(SyncFile(kFolder + "/missing"), ENOENT);
}

}  // namespace
}  // namespace quarry::common
