// A PAM service file of its own, edited line by line by "login enable" and
// given back by "login disable"; the stacks that cannot be edited, and
// files changed by hand since the edit.
#include <gtest/gtest.h>

#include <string>

#include "quarryauthctl/LoginCommandsFixture.h"

namespace quarryauthctl_test {
namespace {

// A service file without "@include" is edited line by line: the
// directory's auth rule right after pam_unix.so, and pam_unix.so's jump
// still landing on pam_permit.so.
TEST_F(LoginCommandsTest, EditsAServiceThatStandsOnItsOwn) {
  Join();
  InstallModules();
  WriteOwnService("[success=1 default=ignore]");
  const std::string original = ReadFile("/etc/pam.d/quarry-directory");
  const auto before = quarry_test::LoginFiles();
  const Outcome outcome = OutcomeOf("quarry-directory");
  ASSERT_EQ(outcome.authenticated, 0);

  const ToolResult enabled =
      RunTool({"login", "enable", "--service", "quarry-directory"});
  ASSERT_EQ(enabled.exitStatus, 0) << enabled.err;
  EXPECT_EQ(enabled.out,
            "PAM service 'quarry-directory': 'pam_quarrydemo.so' added to "
            "/etc/pam.d/quarry-directory (the previous file is "
            "/etc/pam.d/quarry-directory.quarryauthctl-backup).\n"
            "Name-service switch: 'quarrydemo [UNAVAIL=continue]' added to "
            "passwd group.\n"
            "Directory logins enabled for ad.test.\n");
  EXPECT_EQ(ReadFile("/etc/pam.d/quarry-directory"),
            "# a service of its own\n"
            "auth\t[success=2 default=ignore]\tpam_unix.so nullok\n"
            "auth\t[success=1 default=ignore]\tpam_quarrydemo.so\t"
            "use_first_pass offline_credentials\n"
            "auth\trequisite\tpam_deny.so\n"
            "auth\trequired\tpam_permit.so\n"
            "account\trequired\tpam_unix.so\n"
            "account\tsufficient\tpam_localuser.so\n"
            "account\t[default=bad success=ok user_unknown=ignore]\t"
            "pam_quarrydemo.so\n"
            "session\trequired\tpam_unix.so\n"
            "session\toptional\tpam_quarrydemo.so\n");
  EXPECT_EQ(ReadFile("/etc/pam.d/quarry-directory.quarryauthctl-backup"),
            original);
  EXPECT_TRUE(OutcomeOf("quarry-directory") == outcome);
  EXPECT_EQ(ReadFile("/etc/pam.d/common-auth"),
            before.at("/etc/pam.d/common-auth"));

  const ToolResult status = RunTool({"login", "status"});
  EXPECT_EQ(status.exitStatus, 0);
  EXPECT_EQ(status.out,
            "Directory logins: enabled (pam_quarrydemo.so, quarrydemo)\n"
            "  PAM quarry-directory:       /etc/pam.d/quarry-directory\n"
            "  NSS passwd:                 /etc/nsswitch.conf\n"
            "  NSS group:                  /etc/nsswitch.conf\n");

  const ToolResult disabled = RunTool({"login", "disable"});
  ASSERT_EQ(disabled.exitStatus, 0) << disabled.err;
  EXPECT_EQ(disabled.out,
            "Removed /etc/pam.d/quarry-directory.quarryauthctl-backup\n"
            "Restored /etc/pam.d/quarry-directory\n"
            "Removed /etc/nsswitch.conf.quarryauthctl-backup\n"
            "Restored /etc/nsswitch.conf\n"
            "Directory logins disabled.\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

TEST_F(LoginCommandsTest, SufficientUnixGetsASufficientDirectoryRule) {
  Join();
  InstallModules();
  WriteOwnService("sufficient");
  const Outcome outcome = OutcomeOf("quarry-directory");
  ASSERT_EQ(RunTool({"login", "enable", "--service", "quarry-directory"})
                .exitStatus,
            0);
  EXPECT_NE(ReadFile("/etc/pam.d/quarry-directory")
                .find("auth\tsufficient\tpam_unix.so nullok\n"
                      "auth\tsufficient\tpam_quarrydemo.so\t"
                      "use_first_pass offline_credentials\n"),
            std::string::npos);
  EXPECT_TRUE(OutcomeOf("quarry-directory") == outcome);
}

TEST_F(LoginCommandsTest, RefusesAServiceWhereUnixDecidesAlone) {
  Join();
  InstallModules();
  WriteOwnService("required");
  const auto before = quarry_test::LoginFiles();
  const ToolResult result =
      RunTool({"login", "enable", "--service", "quarry-directory"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.err,
            "quarryauthctl: pam_unix.so decides the auth stack of "
            "'/etc/pam.d/quarry-directory' alone (control 'required'), so a "
            "directory user could never pass it; make its control "
            "'sufficient' or a '[success=N default=ignore]' jump first (the "
            "file is left untouched)\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
  EXPECT_FALSE(Exists(kRecord));
}

TEST_F(LoginCommandsTest, RefusesAServiceWithoutUnix) {
  Join();
  InstallModules();
  WriteFile("/etc/pam.d/quarry-directory", "auth\trequired\tpam_permit.so\n");
  const auto before = quarry_test::LoginFiles();
  const ToolResult result =
      RunTool({"login", "enable", "--service", "quarry-directory"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.err,
            "quarryauthctl: the auth stack of '/etc/pam.d/quarry-directory' "
            "has no pam_unix.so rule to place the directory's module after "
            "(the file is left untouched)\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

TEST_F(LoginCommandsTest, DisableKeepsLaterChangesUnlessForced) {
  Join();
  InstallModules();
  WriteOwnService("[success=1 default=ignore]");
  const auto before = quarry_test::LoginFiles();
  ASSERT_EQ(RunTool({"login", "enable", "--service", "quarry-directory"})
                .exitStatus,
            0);
  Shell("echo '# changed by hand' >> /etc/nsswitch.conf");
  const std::string changed = ReadFile("/etc/nsswitch.conf");
  ToolResult result = RunTool({"login", "disable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: changed since 'login enable': "
            "'/etc/nsswitch.conf'; nothing was changed ('login disable "
            "--force' puts back what was there before 'login enable' and "
            "loses those changes)\n");
  EXPECT_EQ(ReadFile("/etc/nsswitch.conf"), changed);
  EXPECT_TRUE(Exists(kRecord));
  result = RunTool({"login", "disable", "--force"});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

}  // namespace
}  // namespace quarryauthctl_test
