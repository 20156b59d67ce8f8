// "login enable", "login disable" and "login status" with the
// demonstration plug-in, on a Debian host's own PAM and name-service files.
// The demonstration's modules are stand-ins (pam_deny.so under the name
// pam_quarrydemo.so, and a name-service module that knows nobody): what is
// checked is where they are wired, that local users keep their outcome, and
// that disable gives every file back byte for byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "support/StockDebianHost.h"
#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const std::string kArchitecture = LIBRARY_ARCHITECTURE;
const std::string kSecurity = "/usr/lib/" + kArchitecture + "/security";
const char kRecord[] = "/var/lib/quarry/quarryauthctl/login";

bool Exists(const std::string& path) {
  return std::system(("test -e " + path).c_str()) == 0;
}

class LoginCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Shell("mkdir -p /etc/quarry/quarryauth");
    InstallDemo();
    PrepareHostForJoin();
    quarry_test::MakeStockDebianLoginFiles(QUARRYAUTH_SOURCE_DIR);
    AddLocalUser();
    ASSERT_EQ(RunTool({"activate", "Active Directory"}).exitStatus, 0);
  }

  static void InstallPamModule() {
    Shell("cp " + kSecurity + "/pam_deny.so " + kSecurity +
          "/pam_quarrydemo.so");
  }
  static void InstallModules() {
    InstallPamModule();
    Shell(std::string("cp ") + DEMO_NSS_MODULE + " /usr/lib/" + kArchitecture +
          "/ && ldconfig");
  }
  static void WriteOwnService(const std::string& authControl) {
    WriteFile("/etc/pam.d/quarry-directory",
              "# a service of its own\n"
              "auth\t" + authControl + "\tpam_unix.so nullok\n"
              "auth\trequisite\tpam_deny.so\n"
              "auth\trequired\tpam_permit.so\n"
              "account\trequired\tpam_unix.so\n"
              "session\trequired\tpam_unix.so\n");
  }
};

TEST_F(LoginCommandsTest, RefusesWhenTheHostIsNotJoined) {
  InstallModules();
  const auto before = quarry_test::LoginFiles();
  const ToolResult result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 5);
  EXPECT_EQ(result.err,
            "quarryauthctl: this host is not joined to a domain; join it "
            "first ('quarryauthctl join'); nothing was changed\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

TEST_F(LoginCommandsTest, RefusesWhenAnotherStoreIsActive) {
  Join();
  InstallModules();
  ASSERT_EQ(RunTool({"activate", "None"}).exitStatus, 0);
  const auto before = quarry_test::LoginFiles();
  const ToolResult result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: the active store is 'None', so directory users "
            "could not log in; 'quarryauthctl activate \"Active Directory\"' "
            "first; nothing was changed\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

TEST_F(LoginCommandsTest, RefusesAPamModuleThatIsNotOnTheHost) {
  Join();
  const auto before = quarry_test::LoginFiles();
  const ToolResult result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: the PAM module 'pam_quarrydemo.so' that the "
            "directory plug-in names is not on this host (looked in /usr/lib/" +
                kArchitecture + "/security, /lib/" + kArchitecture +
                "/security, /usr/lib64/security, /lib64/security, "
                "/usr/lib/security, /lib/security); install it first\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

TEST_F(LoginCommandsTest, RefusesANameServiceModuleThatIsNotOnTheHost) {
  Join();
  InstallPamModule();
  const auto before = quarry_test::LoginFiles();
  const ToolResult result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: the name-service module 'quarrydemo' that the "
            "directory plug-in names is not on this host (no "
            "libnss_quarrydemo.so.2); install it first\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

TEST_F(LoginCommandsTest, RefusesANamedServiceThatDoesNotExist) {
  Join();
  InstallModules();
  const auto before = quarry_test::LoginFiles();
  const ToolResult result =
      RunTool({"login", "enable", "--service", "login", "--service", "nosuch"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: there is no PAM service 'nosuch' "
            "('/etc/pam.d/nosuch' does not exist); nothing was changed\n");
  EXPECT_EQ(quarry_test::LoginFiles(), before);
}

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

TEST_F(LoginCommandsTest, RefusesASecondEnableAndADisableWithoutOne) {
  Join();
  InstallModules();
  ToolResult result = RunTool({"login", "disable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: directory logins are not enabled by "
            "'quarryauthctl login enable'; nothing was changed\n");
  ASSERT_EQ(RunTool({"login", "enable"}).exitStatus, 0);
  const auto enabled = quarry_test::LoginFiles();
  result = RunTool({"login", "enable"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.err,
            "quarryauthctl: directory logins are already enabled; "
            "'quarryauthctl login disable' first\n");
  EXPECT_EQ(quarry_test::LoginFiles(), enabled);
}

}  // namespace
}  // namespace quarryauthctl_test
