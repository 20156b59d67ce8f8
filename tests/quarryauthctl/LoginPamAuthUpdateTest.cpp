// Directory logins wired through pam-auth-update into the common-* files
// that Debian's services include, and what "login enable" does when
// pam-auth-update cannot or will not wire them.
#include <gtest/gtest.h>

#include <string>

#include "quarryauthctl/LoginCommandsFixture.h"

namespace quarryauthctl_test {
namespace {

// Every Debian service includes the common-* files, which pam-auth-update
// owns: the tool gives it a profile and has it write them.
TEST_F(LoginCommandsTest, WiresTheUsualServicesThroughPamAuthUpdate) {
  Join();
  InstallModules();
  const auto before = quarry_test::LoginFiles();
  const Outcome login = OutcomeOf("login"), sshd = OutcomeOf("sshd"),
                su = OutcomeOf("su");
  ASSERT_EQ(login.authenticated, 0);
  ASSERT_NE(login.wrongPasswordAuthenticated, 0);

  const ToolResult enabled = RunTool({"login", "enable"});
  ASSERT_EQ(enabled.exitStatus, 0) << enabled.err;
  EXPECT_EQ(enabled.out,
            "Skipped PAM service 'sudo': there is no '/etc/pam.d/sudo'.\n"
            "Skipped PAM service 'sudo-i': there is no '/etc/pam.d/sudo-i'.\n"
            "PAM services 'login', 'sshd', 'su', 'su-l': 'pam_quarrydemo.so' "
            "added to the common-* files they include, through "
            "pam-auth-update's profile 'quarryauthctl'.\n"
            "Name-service switch: 'quarrydemo [UNAVAIL=continue]' added to "
            "passwd group.\n"
            "Directory logins enabled for ad.test.\n");
  EXPECT_EQ(enabled.err, "");
  const std::string commonAuth = ReadFile("/etc/pam.d/common-auth");
  EXPECT_NE(commonAuth.find(
                "auth\t[success=2 default=ignore]\tpam_unix.so nullok\n"
                "auth\t[success=1 default=ignore]\tpam_quarrydemo.so "
                "use_first_pass offline_credentials\n"
                "# here's the fallback if no module succeeds\n"
                "auth\trequisite\t\t\tpam_deny.so\n"),
            std::string::npos)
      << commonAuth;
  EXPECT_NE(ReadFile("/etc/pam.d/common-account")
                .find("# and here are more per-package modules (the "
                      "\"Additional\" block)\n"
                      "account\tsufficient\tpam_localuser.so \n"
                      "account\t[default=bad success=ok user_unknown=ignore]"
                      "\tpam_quarrydemo.so \n"),
            std::string::npos)
      << ReadFile("/etc/pam.d/common-account");
  const std::string switchFile = ReadFile("/etc/nsswitch.conf");
  EXPECT_NE(switchFile.find("passwd:         files quarrydemo [UNAVAIL=continue]\n"
                            "group:          files quarrydemo [UNAVAIL=continue]\n"
                            "shadow:         files\n"),
            std::string::npos)
      << switchFile;
  // The local user: the same outcome as before, wherever she logs in.
  EXPECT_TRUE(OutcomeOf("login") == login);
  EXPECT_TRUE(OutcomeOf("sshd") == sshd);
  EXPECT_TRUE(OutcomeOf("su") == su);

  const ToolResult status = RunTool({"login", "status", "--json"});
  ASSERT_EQ(status.exitStatus, 0) << status.err;
  EXPECT_EQ(status.Json(), nlohmann::json::parse(R"({
      "enabled": true, "pamModule": "pam_quarrydemo.so",
      "nssModule": "quarrydemo",
      "services": [
        {"service": "login", "through": "pam-auth-update", "wired": true},
        {"service": "sshd", "through": "pam-auth-update", "wired": true},
        {"service": "su", "through": "pam-auth-update", "wired": true},
        {"service": "su-l", "through": "pam-auth-update", "wired": true}],
      "databases": [{"database": "passwd", "wired": true},
                    {"database": "group", "wired": true}]})"));

  const ToolResult disabled = RunTool({"login", "disable"});
  ASSERT_EQ(disabled.exitStatus, 0) << disabled.err;
  EXPECT_EQ(quarry_test::LoginFiles(), before);
  EXPECT_FALSE(Exists(kRecord));
  EXPECT_EQ(RunTool({"login", "status"}).out, "Directory logins: not enabled\n");
}

TEST_F(LoginCommandsTest, RefusesIncludesWhereNoSystemMechanismHelps) {
  Join();
  InstallModules();
  WriteFile("/etc/pam.d/quarry-directory", "@include quarry-stack\n");
  auto before = quarry_test::LoginFiles();
  ToolResult result =
      RunTool({"login", "enable", "--service", "quarry-directory"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.err,
            "quarryauthctl: '/etc/pam.d/quarry-directory' has lines that the "
            "PAM model cannot read and does not include common-auth, so "
            "pam-auth-update cannot wire it either; nothing was changed\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);

  Shell("rm /usr/sbin/pam-auth-update");
  result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.err,
            "quarryauthctl: '/etc/pam.d/login' has lines that the PAM model "
            "cannot read (\"@include\" or a leading '-') and this host has no "
            "pam-auth-update to wire it; nothing was changed\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

// pam-auth-update does not touch common-* files that were changed by hand;
// the tool then takes back what it wrote and passes on its words.
TEST_F(LoginCommandsTest, TakesEverythingBackWhenPamAuthUpdateRefuses) {
  Join();
  InstallModules();
  Shell("sed -i 's/^\\(auth.*pam_unix.so nullok\\)$/\\1\\nauth\\toptional\\tpam_warn.so/' "
        "/etc/pam.d/common-auth");
  ASSERT_NE(ReadFile("/etc/pam.d/common-auth").find("pam_warn.so"),
            std::string::npos);
  const auto before = quarry_test::LoginFiles();
  const ToolResult result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: pam-auth-update did not put 'pam_quarrydemo.so' "
            "into the common-* files: pam-auth-update: Local modifications to "
            "/etc/pam.d/common-*, not updating.\n"
            "pam-auth-update: Run pam-auth-update --force to override.\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
  EXPECT_FALSE(Exists(kRecord));
}

TEST_F(LoginCommandsTest, RefusesToLetPamAuthUpdateTurnOnProfilesUnasked) {
  Join();
  InstallModules();
  WriteFile("/usr/share/pam-configs/extra",
            "Name: Something new\nDefault: yes\nPriority: 0\n");
  const auto before = quarry_test::LoginFiles();
  const ToolResult result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: pam-auth-update would also turn on the profiles "
            "'extra' that it has not offered yet; run 'pam-auth-update' to "
            "decide on them first (nothing was changed)\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

}  // namespace
}  // namespace quarryauthctl_test
