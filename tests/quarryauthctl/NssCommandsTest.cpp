// "nss": edits of /etc/nsswitch.conf that change one database's line and
// keep every other line and comment byte for byte, replaced atomically with
// the previous file kept as a backup; files the library's model cannot
// read whole are refused and left byte for byte as they were.
#include <gtest/gtest.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const char kSwitch[] = "/etc/nsswitch.conf";

class NssCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo();
    WriteFile(kSwitch,
              "# Name Service Switch\n"
              "passwd:         files systemd\n"
              "group:          files systemd\n"
              "hosts:          files dns\n"
              "netgroup:       nis\n");
  }
};

void ExpectNoTemporaryFiles() {
  for (const auto& name : ListDirectory("/etc")) {
    if (name == "nsswitch.conf.quarryauthctl-backup") continue;
    EXPECT_EQ(name.find("nsswitch.conf."), std::string::npos) << name;
  }
}

TEST_F(NssCommandsTest, ShowsTheDatabases) {
  const ToolResult text = RunTool({"nss", "show"});
  EXPECT_EQ(text.exitStatus, 0) << text.err;
  EXPECT_EQ(text.out,
            "passwd: files systemd\ngroup: files systemd\nhosts: files dns\n"
            "netgroup: nis\n");
  const nlohmann::json json = RunTool({"nss", "show", "--json"}).Json();
  EXPECT_EQ(json["path"], kSwitch);
  ASSERT_EQ(json["databases"].size(), 4u);
  EXPECT_EQ(json["databases"]["hosts"][1]["service"], "dns");
  EXPECT_EQ(json["databases"]["hosts"][1]["criteria"], nlohmann::json::array());
  EXPECT_EQ(json["databases"]["netgroup"][0]["service"], "nis");
}

TEST_F(NssCommandsTest, SetsADatabasesServices) {
  ToolResult set = RunTool({"nss", "set", "passwd", "files", "quarrydemo"});
  EXPECT_EQ(set.exitStatus, 0) << set.err;
  EXPECT_EQ(set.out, "passwd: files quarrydemo\n");
  set = RunTool({"nss", "set", "shadow", "files"});
  EXPECT_EQ(set.exitStatus, 0) << set.err;
  EXPECT_EQ(ReadFile(kSwitch),
            "# Name Service Switch\n"
            "passwd:         files quarrydemo\n"
            "group:          files systemd\n"
            "hosts:          files dns\n"
            "netgroup:       nis\n"
            "shadow:\tfiles\n");
  EXPECT_EQ(ReadFile("/etc/nsswitch.conf.quarryauthctl-backup"),
            "# Name Service Switch\n"
            "passwd:         files quarrydemo\n"
            "group:          files systemd\n"
            "hosts:          files dns\n"
            "netgroup:       nis\n");
  set = RunTool({"nss", "set", "group", "quarrydemo [UNAVAIL=return]"});
  EXPECT_EQ(set.exitStatus, 0) << set.err;
  const nlohmann::json json = RunTool({"nss", "show", "--json"}).Json();
  EXPECT_EQ(json["databases"]["group"][0]["service"], "quarrydemo");
  EXPECT_EQ(json["databases"]["group"][0]["criteria"],
            nlohmann::json({"UNAVAIL=return"}));
  ExpectNoTemporaryFiles();
}

TEST_F(NssCommandsTest, RefusesUnknownDatabasesAndMalformedServices) {
  const std::string before = ReadFile(kSwitch);
  ToolResult refused = RunTool({"nss", "set", "users", "files"});
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_EQ(refused.err, "quarryauthctl: Invalid Database: users\n");
  refused = RunTool({"nss", "set", "passwd", "files [x"});
  EXPECT_EQ(refused.exitStatus, 2);
  refused = RunTool({"nss", "set", "passwd"});
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_EQ(ReadFile(kSwitch), before);
}

TEST_F(NssCommandsTest, LeavesAFileWithATrailingBlankByteForByte) {
  const std::string original = "passwd: files \ngroup: files\n";
  WriteFile(kSwitch, original);
  const ToolResult refused = RunTool({"nss", "set", "group", "files", "sss"});
  EXPECT_EQ(refused.exitStatus, 3);
  EXPECT_EQ(refused.err.rfind("quarryauthctl: the name-service switch model "
                              "cannot read '/etc/nsswitch.conf' (",
                              0),
            0u)
      << refused.err;
  EXPECT_EQ(ReadFile(kSwitch), original);
  ExpectNoTemporaryFiles();
}

TEST_F(NssCommandsTest, RefusesAFileThatTheModelWouldReadOnlyInPart) {
  const std::string original =
      "passwd: files [NOTFOUND=return] ldap\ngroup: files\n";
  WriteFile(kSwitch, original);
  const ToolResult refused = RunTool({"nss", "set", "group", "files", "sss"});
  EXPECT_EQ(refused.exitStatus, 3);
  EXPECT_EQ(refused.err,
            "quarryauthctl: the name-service switch model reads only 1 of "
            "the 2 services of 'passwd' in '/etc/nsswitch.conf' (it skips the "
            "words after status criteria); it is left untouched\n");
  EXPECT_EQ(ReadFile(kSwitch), original);
}

}  // namespace
}  // namespace quarryauthctl_test
