// "dc", "smartcard", "principal" and "username".
#include <gtest/gtest.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

class DirectoryCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo();
    PrepareHostForJoin();
  }
};

TEST_F(DirectoryCommandsTest, SetsAndShowsPreferredDomainControllers) {
  Join();
  const ToolResult set = RunTool({"dc", "set", "dc2.ad.test", "dc1.ad.test"});
  EXPECT_EQ(set.exitStatus, 0) << set.err;
  EXPECT_EQ(set.out, "Preferred domain controllers: dc2.ad.test dc1.ad.test\n");
  const ToolResult shown = RunTool({"dc", "show"});
  EXPECT_EQ(shown.exitStatus, 0);
  EXPECT_EQ(shown.out, "dc2.ad.test\ndc1.ad.test\n");
  const nlohmann::json json = RunTool({"dc", "show", "--json"}).Json();
  EXPECT_EQ(json["preferredDomainControllers"],
            nlohmann::json({"dc2.ad.test", "dc1.ad.test"}));
  EXPECT_EQ(json["fromCache"], false);
}

TEST_F(DirectoryCommandsTest, ShowsTheCachedControllersAfterATimeout) {
  Join();
  WriteFile("/etc/quarry/quarrydemo.conf",
            ReadFile("/etc/quarry/quarrydemo.conf") +
                "delay-seconds = \"forever\"\n");
  const ToolResult shown = RunTool({"dc", "show", "--json", "--timeout", "1"});
  EXPECT_EQ(shown.exitStatus, 4);
  EXPECT_EQ(shown.Json()["fromCache"], true);
  EXPECT_EQ(shown.Json()["preferredDomainControllers"],
            nlohmann::json::array());
}

TEST_F(DirectoryCommandsTest, SettingControllersWhenNotJoinedFails) {
  const ToolResult set = RunTool({"dc", "set", "dc1.ad.test"});
  EXPECT_EQ(set.exitStatus, 5);
  EXPECT_NE(set.err.find("0x00000a84"), std::string::npos) << set.err;
  EXPECT_NE(set.err.find("this host is not joined to a domain"),
            std::string::npos)
      << set.err;
}

TEST_F(DirectoryCommandsTest, SetsAndShowsSmartCardServices) {
  const ToolResult set = RunTool({"smartcard", "set", "sshd", "login"});
  EXPECT_EQ(set.exitStatus, 0) << set.err;
  EXPECT_EQ(set.out, "Smart-card services: sshd login\n");
  EXPECT_EQ(RunTool({"smartcard", "show"}).out, "sshd\nlogin\n");
  EXPECT_EQ(
      RunTool({"smartcard", "show", "--json"}).Json()["smartCardServices"],
      nlohmann::json({"sshd", "login"}));
  EXPECT_EQ(RunTool({"smartcard", "set"}).exitStatus, 0);
  EXPECT_EQ(
      RunTool({"smartcard", "show", "--json"}).Json()["smartCardServices"],
      nlohmann::json::array());
}

TEST_F(DirectoryCommandsTest, ShowsTheHostPrincipal) {
  const ToolResult text = RunTool({"principal", "ad.test"});
  EXPECT_EQ(text.exitStatus, 0) << text.err;
  EXPECT_EQ(text.out, "NODE1$@AD.TEST\n");
  EXPECT_EQ(RunTool({"principal", "ad.test", "--json"}).Json()["principal"],
            "NODE1$@AD.TEST");
}

TEST_F(DirectoryCommandsTest, ConvertsUserNames) {
  EXPECT_EQ(RunTool({"username", "jdoe@ad.test"}).out, "AD\\jdoe\n");
  EXPECT_EQ(RunTool({"username", "jdoe", "--json"}).Json()["username"],
            "AD\\jdoe");
  const ToolResult foreign = RunTool({"username", "OTHER\\jdoe"});
  EXPECT_EQ(foreign.exitStatus, 3);
  EXPECT_NE(foreign.err.find("0x0000054b"), std::string::npos) << foreign.err;
}

}  // namespace
}  // namespace quarryauthctl_test
