// Reading a file whole. Runs in the sandbox; the scratch folder is under
// /var/lib, which the sandbox overlays.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "common/FileContents.h"
#include "support/Files.h"

namespace quarry::common {
namespace {

const std::string kFolder = "/var/lib/quarry-common-contents-test";

class FileContentsTest : public ::testing::Test {
 protected:
  void SetUp() override { quarry_test::Shell("mkdir -p " + kFolder); }
  void TearDown() override { quarry_test::Shell("rm -rf " + kFolder); }
};

TEST_F(FileContentsTest, ReadsEveryByteOfAFileLargerThanOneRead) {
  std::string written(20000, 'a');
  written[19999] = '\0';
  written += "end";
  quarry_test::WriteFile(kFolder + "/large", written);
  std::string contents = "left over";
  ASSERT_EQ(ReadFileContents(kFolder + "/large", contents), 0);
  EXPECT_EQ(contents, written);
}

TEST_F(FileContentsTest, ReadsAnEmptyFile) {
  quarry_test::WriteFile(kFolder + "/empty", "");
  std::string contents = "left over";
  EXPECT_EQ(ReadFileContents(kFolder + "/empty", contents), 0);
  EXPECT_EQ(contents, "");
}

TEST_F(FileContentsTest, AMissingFileGivesENOENTAndNothing) {
  std::string contents = "left over";
  EXPECT_EQ(ReadFileContents(kFolder + "/missing", contents), ENOENT);
  EXPECT_EQ(contents, "");
}

TEST_F(FileContentsTest, AFolderGivesEISDIRAndNothing) {
  std::string contents = "left over";
  EXPECT_EQ(ReadFileContents(kFolder, contents), EISDIR);
  EXPECT_EQ(contents, "");
}

}  // namespace
}  // namespace quarry::common
