// What "login enable" and "login disable" refuse before they change
// anything: a host that is not joined or has another store active, modules
// or services that are not on the host, a second enable, and a disable
// without one.
#include <gtest/gtest.h>

#include <string>

#include "quarryauthctl/LoginCommandsFixture.h"

namespace quarryauthctl_test {
namespace {

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
