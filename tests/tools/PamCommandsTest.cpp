// "pam": edits through the library's PAM model, replaced atomically, and
// refused files left byte for byte as they were.
#include <gtest/gtest.h>

#include <algorithm>

#include "tools/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const char kService[] = "/etc/pam.d/quarry-test";

class PamCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo();
    WriteFile(kService,
              "#%PAM-1.0\n"
              "# local rules\n"
              "auth\trequired\tpam_env.so\n"
              "auth\trequired\tpam_unix.so nullok\n"
              "account\trequired\tpam_unix.so\n");
  }
};

// Nothing but the service files themselves: no temporary file is left.
void ExpectNoTemporaryFiles() {
  for (const auto& name : ListDirectory("/etc/pam.d")) {
    EXPECT_EQ(name.find("quarry-test."), std::string::npos) << name;
  }
}

TEST_F(PamCommandsTest, ShowsTheServiceAsTheModelReadsIt) {
  const ToolResult text = RunTool({"pam", "show", "quarry-test"});
  EXPECT_EQ(text.exitStatus, 0) << text.err;
  EXPECT_EQ(text.out,
            "#%PAM-1.0\n\n"
            "account\trequired\tpam_unix.so\t\n\n"
            "auth\trequired\tpam_env.so\t\n"
            "auth\trequired\tpam_unix.so\tnullok \n\n");

  const nlohmann::json json =
      RunTool({"pam", "show", "quarry-test", "--json"}).Json();
  EXPECT_EQ(json["service"], "quarry-test");
  EXPECT_EQ(json["path"], kService);
  ASSERT_EQ(json["stacks"]["auth"].size(), 2u);
  EXPECT_EQ(json["stacks"]["auth"][1]["control"], "required");
  EXPECT_EQ(json["stacks"]["auth"][1]["module"], "pam_unix.so");
  EXPECT_EQ(json["stacks"]["auth"][1]["arguments"], nlohmann::json({"nullok"}));
  EXPECT_EQ(json["stacks"]["account"][0]["module"], "pam_unix.so");
  EXPECT_FALSE(json["stacks"].contains("session"));
}

TEST_F(PamCommandsTest, AddsBeforeAndAfterAModule) {
  ToolResult added = RunTool({"pam", "add", "quarry-test", "auth", "sufficient",
                              "pam_quarrydemo.so", "use_first_pass", "--before",
                              "pam_unix.so"});
  EXPECT_EQ(added.exitStatus, 0) << added.err;
  EXPECT_EQ(added.out,
            "Added 'pam_quarrydemo.so' to the auth stack of "
            "'/etc/pam.d/quarry-test'.\n");
  added = RunTool(
      {"pam", "add", "quarry-test", "session", "optional", "pam_mkhomedir.so"});
  EXPECT_EQ(added.exitStatus, 0) << added.err;
  added = RunTool({"pam", "add", "quarry-test", "account",
                   "[default=bad success=ok user_unknown=ignore]",
                   "pam_quarrydemo.so", "--after", "pam_unix.so"});
  EXPECT_EQ(added.exitStatus, 0) << added.err;
  EXPECT_EQ(ReadFile(kService),
            "#%PAM-1.0\n\n"
            "account\trequired\tpam_unix.so\t\n"
            "account\t[default=bad success=ok user_unknown=ignore]\t"
            "pam_quarrydemo.so\t\n\n"
            "auth\trequired\tpam_env.so\t\n"
            "auth\tsufficient\tpam_quarrydemo.so\tuse_first_pass \n"
            "auth\trequired\tpam_unix.so\tnullok \n\n"
            "session\toptional\tpam_mkhomedir.so\t\n\n");
  ExpectNoTemporaryFiles();
}

TEST_F(PamCommandsTest, RemovesAndChangesArguments) {
  ToolResult changed = RunTool({"pam", "set-args", "quarry-test", "auth",
                                "pam_unix.so", "try_first_pass", "nullok"});
  EXPECT_EQ(changed.exitStatus, 0) << changed.err;
  const ToolResult removed =
      RunTool({"pam", "remove", "quarry-test", "auth", "pam_env.so"});
  EXPECT_EQ(removed.exitStatus, 0) << removed.err;
  EXPECT_EQ(removed.out,
            "Removed 'pam_env.so' from the auth stack of "
            "'/etc/pam.d/quarry-test'.\n");
  EXPECT_EQ(ReadFile(kService),
            "#%PAM-1.0\n\n"
            "account\trequired\tpam_unix.so\t\n\n"
            "auth\trequired\tpam_unix.so\ttry_first_pass nullok \n\n");
}

TEST_F(PamCommandsTest, RefusesEditsThatDoNotFit) {
  const std::string before = ReadFile(kService);
  ToolResult refused =
      RunTool({"pam", "remove", "quarry-test", "auth", "pam_nothing.so"});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.err,
            "quarryauthctl: 'pam_nothing.so' is not in the auth "
            "stack of '/etc/pam.d/quarry-test'\n");
  refused =
      RunTool({"pam", "add", "quarry-test", "auth", "required", "pam_unix.so"});
  EXPECT_EQ(refused.exitStatus, 1);
  refused = RunTool(
      {"pam", "add", "quarry-test", "authentication", "required", "pam_x.so"});
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_NE(refused.err.find("Invalid Facility: authentication"),
            std::string::npos);
  refused =
      RunTool({"pam", "add", "quarry-test", "auth", "mandatory", "pam_x.so"});
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_NE(refused.err.find("Invalid Control: mandatory"), std::string::npos);
  refused = RunTool({"pam", "add", "quarry-test", "auth", "required",
                     "pam_x.so", "--before", "a.so", "--after", "b.so"});
  EXPECT_EQ(refused.exitStatus, 2);
  refused = RunTool({"pam", "show", "../passwd"});
  EXPECT_EQ(refused.exitStatus, 2);
  refused = RunTool({"pam", "show", "no-such-service"});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(ReadFile(kService), before);
  ExpectNoTemporaryFiles();
}

TEST_F(PamCommandsTest, LeavesAFileWithAnIncludeByteForByte) {
  const std::string original =
      "#%PAM-1.0\n# keep me\nauth\trequired\tpam_env.so\n@include common-auth\n"
      "account required pam_unix.so\n";
  WriteFile(kService, original);
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"pam", "add", "quarry-test", "auth", "sufficient",
            "pam_quarrydemo.so"},
           {"pam", "remove", "quarry-test", "auth", "pam_env.so"},
           {"pam", "set-args", "quarry-test", "auth", "pam_env.so", "debug"},
           {"pam", "show", "quarry-test", "--json"}}) {
    const ToolResult refused = RunTool(arguments);
    EXPECT_EQ(refused.exitStatus, 3);
    EXPECT_EQ(refused.err,
              "quarryauthctl: the PAM model cannot read "
              "'/etc/pam.d/quarry-test' (Invalid Facility: @include); it is "
              "left untouched\n");
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(ReadFile(kService), original);
  }
  ExpectNoTemporaryFiles();
}

TEST_F(PamCommandsTest, KeepsTheFilesPermissions) {
  Shell(std::string("chmod 640 ") + kService);
  EXPECT_EQ(RunTool({"pam", "remove", "quarry-test", "auth", "pam_env.so"})
                .exitStatus,
            0);
  Shell(std::string("test \"$(stat -c %a ") + kService + ")\" = 640");
}

}  // namespace
}  // namespace quarryauthctl_test
