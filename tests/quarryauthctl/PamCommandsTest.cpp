// "pam": edits that keep every line they do not touch and every jump
// landing where it did, replaced atomically with the previous file kept as
// a backup, and refused files left byte for byte as they were.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const char kService[] = "/etc/pam.d/quarry-test";

// Debian 12's /etc/pam.d/common-auth as pam-auth-update writes it.
const char kCommonAuth[] =
    "#\n"
    "# /etc/pam.d/common-auth - authentication settings common to all services\n"
    "#\n"
    "# here are the per-package modules (the \"Primary\" block)\n"
    "auth\t[success=1 default=ignore]\tpam_unix.so nullok\n"
    "# here's the fallback if no module succeeds\n"
    "auth\trequisite\t\t\tpam_deny.so\n"
    "# prime the stack with a positive return value if there isn't one already;\n"
    "# this avoids us returning an error just because nothing sets a success code\n"
    "# since the modules above will each just jump around\n"
    "auth\trequired\t\t\tpam_permit.so\n"
    "# and here are more per-package modules (the \"Additional\" block)\n"
    "# end of pam-auth-update config\n";

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

const char kBackup[] = "/etc/pam.d/quarry-test.quarryauthctl-backup";

// Nothing but the service files and their backups: no temporary file is
// left.
void ExpectNoTemporaryFiles() {
  for (const auto& name : ListDirectory("/etc/pam.d")) {
    if (name == "quarry-test.quarryauthctl-backup") continue;
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
            "#%PAM-1.0\n"
            "# local rules\n"
            "auth\trequired\tpam_env.so\n"
            "auth\tsufficient\tpam_quarrydemo.so\tuse_first_pass\n"
            "auth\trequired\tpam_unix.so nullok\n"
            "account\trequired\tpam_unix.so\n"
            "account\t[default=bad success=ok user_unknown=ignore]\t"
            "pam_quarrydemo.so\n"
            "session\toptional\tpam_mkhomedir.so\n");
  // The file as it was before the last edit, beside it.
  EXPECT_EQ(ReadFile(kBackup),
            "#%PAM-1.0\n"
            "# local rules\n"
            "auth\trequired\tpam_env.so\n"
            "auth\tsufficient\tpam_quarrydemo.so\tuse_first_pass\n"
            "auth\trequired\tpam_unix.so nullok\n"
            "account\trequired\tpam_unix.so\n"
            "session\toptional\tpam_mkhomedir.so\n");
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
            "#%PAM-1.0\n"
            "# local rules\n"
            "auth\trequired\tpam_unix.so\ttry_first_pass nullok\n"
            "account\trequired\tpam_unix.so\n");
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

// "@include" lines and "-" rules are kept as they are around an edit;
// only the model's view ("show") cannot read such a file.
TEST_F(PamCommandsTest, EditsAFileWithAnIncludeAroundIt) {
  WriteFile(kService,
            "#%PAM-1.0\n# keep me\nauth\trequired\tpam_env.so\n@include common-auth\n"
            "-auth optional pam_gnome_keyring.so\naccount required pam_unix.so\n");
  EXPECT_EQ(RunTool({"pam", "add", "quarry-test", "auth", "sufficient",
                     "pam_quarrydemo.so", "--after", "pam_env.so"})
                .exitStatus,
            0);
  EXPECT_EQ(RunTool({"pam", "set-args", "quarry-test", "auth",
                     "pam_gnome_keyring.so", "auto_start"})
                .exitStatus,
            0);
  EXPECT_EQ(ReadFile(kService),
            "#%PAM-1.0\n# keep me\nauth\trequired\tpam_env.so\n"
            "auth\tsufficient\tpam_quarrydemo.so\n@include common-auth\n"
            "-auth optional pam_gnome_keyring.so\tauto_start\n"
            "account required pam_unix.so\n");
  const ToolResult refused = RunTool({"pam", "show", "quarry-test", "--json"});
  EXPECT_EQ(refused.exitStatus, 3);
  EXPECT_EQ(refused.err,
            "quarryauthctl: the PAM model cannot read "
            "'/etc/pam.d/quarry-test' (Invalid Facility: @include); it is "
            "left untouched\n");
  ExpectNoTemporaryFiles();
}

// A file that cannot be edited safely is refused with words and left
// byte for byte: a line that continues on the next, a line that is not a
// rule, a jump whose landing depends on an included file, and the removal
// of the rule that a jump lands on.
TEST_F(PamCommandsTest, RefusesFilesItCannotEditSafely) {
  const std::vector<std::pair<std::string, std::string>> files = {
      {"auth\trequired\tpam_env.so \\\n\tdebug\n",
       "quarryauthctl: line 1 of '/etc/pam.d/quarry-test' continues on the "
       "next line; the file is left untouched\n"},
      {"auth\trequired\tpam_env.so\nnot a rule\n",
       "quarryauthctl: line 2 of '/etc/pam.d/quarry-test' is not a PAM rule, "
       "an @include or a comment; the file is left untouched\n"},
      {"auth\t[success=2 default=ignore]\tpam_unix.so\n@include common-auth\n"
       "auth\trequisite\tpam_deny.so\nauth\trequired\tpam_permit.so\n",
       "quarryauthctl: where the jump of line 1 of '/etc/pam.d/quarry-test' "
       "lands depends on an included file; the file is left untouched\n"}};
  for (const auto& [text, words] : files) {
    WriteFile(kService, text);
    const ToolResult refused =
        RunTool({"pam", "add", "quarry-test", "auth", "sufficient",
                 "pam_quarrydemo.so", "--before", "pam_deny.so"});
    EXPECT_EQ(refused.exitStatus, 3) << text;
    EXPECT_EQ(refused.err, words);
    EXPECT_EQ(ReadFile(kService), text);
  }
  WriteFile(kService, kCommonAuth);
  const ToolResult refused =
      RunTool({"pam", "remove", "quarry-test", "auth", "pam_permit.so"});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.err,
            "quarryauthctl: the jump of line 5 of '/etc/pam.d/quarry-test' "
            "lands on this rule; change that line first\n");
  EXPECT_EQ(ReadFile(kService), kCommonAuth);
  EXPECT_NE(std::system((std::string("test -e ") + kBackup).c_str()), 0);
  ExpectNoTemporaryFiles();
}

// Debian's common-auth: a rule inserted between pam_unix.so and the rule
// its success jumps to lengthens the jump, so that it still lands on
// pam_permit.so; removing the rule shortens it again. Every other line,
// pam-auth-update's markers included, stays byte for byte.
TEST_F(PamCommandsTest, KeepsEveryJumpLandingWhereItDid) {
  WriteFile(kService, kCommonAuth);
  ASSERT_EQ(RunTool({"pam", "add", "quarry-test", "auth", "sufficient",
                     "pam_quarrydemo.so", "use_first_pass", "--before",
                     "pam_deny.so"})
                .exitStatus,
            0);
  std::string expected = kCommonAuth;
  expected.replace(expected.find("[success=1 "), 11, "[success=2 ");
  expected.insert(expected.find("auth\trequisite"),
                  "auth\tsufficient\tpam_quarrydemo.so\tuse_first_pass\n");
  EXPECT_EQ(ReadFile(kService), expected);
  EXPECT_EQ(ReadFile(kBackup), kCommonAuth);
  // After the last rule, no jump reaches it.
  ASSERT_EQ(RunTool({"pam", "remove", "quarry-test", "auth", "pam_quarrydemo.so"})
                .exitStatus,
            0);
  EXPECT_EQ(ReadFile(kService), kCommonAuth);
  ASSERT_EQ(RunTool({"pam", "add", "quarry-test", "auth", "optional",
                     "pam_quarrydemo.so", "--after", "pam_permit.so"})
                .exitStatus,
            0);
  EXPECT_NE(ReadFile(kService).find("[success=1 default=ignore]"), std::string::npos);
}

// What the jumps mean, as PAM itself reports it: a local user
// authenticates before and after a rule is inserted in front of pam_deny.so
// and after it is removed again; a wrong password is refused throughout.
TEST_F(PamCommandsTest, KeepsALocalUsersLogonAsPamReportsIt) {
  Shell("useradd -M alice && echo 'alice:Alice-Secret-1' | chpasswd");
  WriteFile(kService, std::string(kCommonAuth) + "account\trequired\tpam_unix.so\n");
  const auto logon = [](const char* password) {
    WriteFile("/var/lib/quarry-test-pamtester.in", std::string(password) + "\n");
    return std::system("pamtester quarry-test alice authenticate "
                       "< /var/lib/quarry-test-pamtester.in > /dev/null 2>&1");
  };
  EXPECT_EQ(logon("Alice-Secret-1"), 0);
  EXPECT_NE(logon("wrong"), 0);
  // A module that fails for alice: "sufficient" lets her fall through.
  ASSERT_EQ(RunTool({"pam", "add", "quarry-test", "auth", "sufficient",
                     "pam_succeed_if.so", "user", "=", "nobody", "--before",
                     "pam_deny.so"})
                .exitStatus,
            0);
  EXPECT_EQ(logon("Alice-Secret-1"), 0);
  EXPECT_NE(logon("wrong"), 0);
  ASSERT_EQ(RunTool({"pam", "remove", "quarry-test", "auth", "pam_succeed_if.so"})
                .exitStatus,
            0);
  EXPECT_EQ(logon("Alice-Secret-1"), 0);
  EXPECT_NE(logon("wrong"), 0);
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
