#include "support/Files.h"

#include <quarryauth/authentication.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace qa = quarry::authentication;
using quarry_test::ReadFile;
using quarry_test::WriteFile;

namespace {

const std::string kPath = "/etc/quarry/quarryauth/thumbprints.conf";
const std::string kThumbprint =
    "0A:1B:2C:3D:4E:5F:60:71:82:93:A4:B5:C6:D7:E8:F9:0A:1B:2C:3D";

struct FileIdentity {
  ino_t inode;
  timespec modified;
};

FileIdentity Identity() {
  const struct stat status = quarry_test::Stat(kPath);
  return {status.st_ino, status.st_mtim};
}

bool Same(const FileIdentity& a, const FileIdentity& b) {
  return a.inode == b.inode && a.modified.tv_sec == b.modified.tv_sec &&
         a.modified.tv_nsec == b.modified.tv_nsec;
}

TEST(CAMThumbprintStore, LookupOfAbsentKeyIsEmptyAndAddsNothing) {
  WriteFile(kPath, "other = \"x\"\n");
  qa::CAMThumbprintStore store(kPath);
  EXPECT_EQ(store.LookupThumbprint("192.0.2.10"), "");
  EXPECT_EQ(store.count("192.0.2.10"), 0u);
  store.ImportThumbprint(kThumbprint, "192.0.2.11");
  EXPECT_EQ(ReadFile(kPath),
            "192.0.2.11 = \"" + kThumbprint + "\"\nother = \"x\"\n");
}

TEST(CAMThumbprintStore, ImportOfNewKeyWritesTheFile) {
  WriteFile(kPath, "");
  qa::CAMThumbprintStore store(kPath);
  store.ImportThumbprint(kThumbprint, "proxy");
  EXPECT_EQ(ReadFile(kPath), "proxy = \"" + kThumbprint + "\"\n");
  EXPECT_EQ(qa::CAMThumbprintStore(kPath).LookupThumbprint("proxy"),
            kThumbprint);
}

TEST(CAMThumbprintStore, SameThumbprintTwiceLeavesTheFileUntouched) {
  WriteFile(kPath, "");
  qa::CAMThumbprintStore store(kPath);
  store.ImportThumbprint(kThumbprint, "proxy");
  const FileIdentity before = Identity();
  ::usleep(20000);
  store.ImportThumbprint(kThumbprint, "proxy");
  EXPECT_TRUE(Same(before, Identity()));
  qa::CAMThumbprintStore reloaded(kPath);
  reloaded.ImportThumbprint(kThumbprint, "proxy");
  EXPECT_TRUE(Same(before, Identity()));
}

TEST(CAMThumbprintStore, LowerCaseCountsAsAChange) {
  WriteFile(kPath, "proxy = \"" + kThumbprint + "\"\n");
  qa::CAMThumbprintStore store(kPath);
  const FileIdentity before = Identity();
  std::string lower = kThumbprint;
  for (char& c : lower) c = static_cast<char>(std::tolower(c));
  store.ImportThumbprint(lower, "proxy");
  EXPECT_FALSE(Same(before, Identity()));
  EXPECT_EQ(ReadFile(kPath), "proxy = \"" + lower + "\"\n");
  EXPECT_EQ(store.LookupThumbprint("proxy"), lower);
}

TEST(CAMThumbprintStore, MissingFileIsIOError) {
  try {
    qa::CAMThumbprintStore store(kPath);
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_EQ(std::string(error.what()),
              "Unable to open '" + kPath + "': No such file or directory");
  }
}

TEST(CAMThumbprintStore, FailedWriteKeepsTheOldFile) {
  quarry_test::Shell("mount -t tmpfs -o size=8k tmpfs /etc/quarry/quarryauth");
  WriteFile(kPath, "proxy = \"old\"\n");
  qa::CAMThumbprintStore store(kPath);
  EXPECT_THROW(store.ImportThumbprint(std::string(64 * 1024, 'A'), "proxy"),
               qa::IOError);
  EXPECT_EQ(ReadFile(kPath), "proxy = \"old\"\n");
}

TEST(CAMThumbprintStore, DestructionDoesNotWrite) {
  WriteFile(kPath, "b = 'x'\na = y\n");
  {
    qa::CAMThumbprintStore store(kPath);
    store["c"] = "z";
  }
  EXPECT_EQ(ReadFile(kPath), "b = 'x'\na = y\n");
}

}  // namespace
