// Every file that the library writes, written on a full file system and on
// a read-only one: the operation raises its exception and the old file is
// still there, whole, and still reads.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "hardening/WrittenFiles.h"

namespace {

using quarryauth_test::Contents;
using quarryauth_test::WriteResult;

class FullFileSystem : public ::testing::TestWithParam<std::string> {
 protected:
  FullFileSystem() : file(quarryauth_test::MakeWrittenFile(GetParam())) {
    file->SetUp();
    quarryauth_test::MountSmallFileSystem(file->Directory());
    file->WriteOld();
  }

  std::unique_ptr<quarryauth_test::WrittenFile> file;
};

TEST_P(FullFileSystem, NoSpaceLeftKeepsTheOldFile) {
  quarryauth_test::FillFileSystem(file->Directory());
  EXPECT_EQ(WriteResult::Refused, file->WriteNew());
  quarryauth_test::EmptyFiller(file->Directory());
  EXPECT_EQ(Contents::Old, file->Read());
  // With room again the same operation succeeds.
  EXPECT_EQ(WriteResult::Written, file->WriteNew());
  EXPECT_EQ(Contents::New, file->Read());
}

TEST_P(FullFileSystem, ReadOnlyKeepsTheOldFile) {
  quarryauth_test::RemountReadOnly(file->Directory());
  EXPECT_EQ(WriteResult::Refused, file->WriteNew());
  quarryauth_test::RemountWritable(file->Directory());
  EXPECT_EQ(Contents::Old, file->Read());
}

INSTANTIATE_TEST_SUITE_P(
    WrittenFiles, FullFileSystem,
    ::testing::ValuesIn(quarryauth_test::WrittenFileNames()),
    [](const ::testing::TestParamInfo<std::string>& info) {
      return quarryauth_test::IdentifierOf(info.param);
    });

}  // namespace
