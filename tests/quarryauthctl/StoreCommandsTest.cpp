// "stores", "activate", "provider" and the help texts.
#include <gtest/gtest.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

class StoreCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override { InstallDemo(); }
};

TEST_F(StoreCommandsTest, ListsBothStoresAndMarksTheActiveOne) {
  const ToolResult text = RunTool({"stores"});
  EXPECT_EQ(text.exitStatus, 0);
  EXPECT_EQ(text.out, "  Active Directory\n* None\n");

  const nlohmann::json json = RunTool({"stores", "--json"}).Json();
  EXPECT_EQ(json["active"], "None");
  ASSERT_EQ(json["stores"].size(), 2u);
  EXPECT_EQ(json["stores"][0]["name"], "Active Directory");
  EXPECT_EQ(json["stores"][0]["active"], false);
  EXPECT_EQ(json["stores"][1]["name"], "None");
  EXPECT_EQ(json["stores"][1]["active"], true);
}

TEST_F(StoreCommandsTest, ActivatesTheDirectoryStoreAndNoneAgain) {
  const ToolResult activated = RunTool({"activate", "Active Directory"});
  EXPECT_EQ(activated.exitStatus, 0) << activated.err;
  EXPECT_EQ(activated.out, "The active store is now 'Active Directory'.\n");
  EXPECT_EQ(ReadFile("/etc/quarry/quarryauth/authentication.conf"),
            "remote-authentication-store = \"Active Directory\"\n");
  EXPECT_EQ(RunTool({"stores", "--json"}).Json()["active"], "Active Directory");

  EXPECT_EQ(RunTool({"activate", "None"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"stores", "--json"}).Json()["active"], "None");
}

TEST_F(StoreCommandsTest, RefusesAnUnknownStoreAsAUsageError) {
  const std::string before =
      ReadFile("/etc/quarry/quarryauth/authentication.conf");
  const ToolResult refused = RunTool({"activate", "none"});
  EXPECT_EQ(refused.exitStatus, 2);
  EXPECT_EQ(refused.err,
            "quarryauthctl: unknown store 'none'; the stores are "
            "'Active Directory', 'None'\n");
  EXPECT_EQ(ReadFile("/etc/quarry/quarryauth/authentication.conf"), before);
}

TEST_F(StoreCommandsTest, ReportsAMissingConfigurationFileAsALibraryError) {
  Shell("rm /etc/quarry/quarryauth/authentication.conf");
  const ToolResult failed = RunTool({"stores"});
  EXPECT_EQ(failed.exitStatus, 3);
  EXPECT_EQ(failed.err,
            "quarryauthctl: Unable to open "
            "'/etc/quarry/quarryauth/authentication.conf': No such file or "
            "directory\n");
  EXPECT_EQ(failed.out, "");
}

TEST_F(StoreCommandsTest, DescribesTheDirectoryPlugin) {
  const ToolResult text = RunTool({"provider"});
  EXPECT_EQ(text.exitStatus, 0) << text.err;
  EXPECT_NE(text.out.find("PAM module:                   pam_quarrydemo.so "
                          "use_first_pass offline_credentials\n"),
            std::string::npos);

  const nlohmann::json json = RunTool({"provider", "--json"}).Json();
  EXPECT_EQ(json["provider"], "quarrydemo");
  EXPECT_EQ(json["apiVersion"], 2);
  EXPECT_EQ(json["pamModule"], "pam_quarrydemo.so");
  EXPECT_EQ(json["pamModuleParameters"],
            nlohmann::json({"use_first_pass", "offline_credentials"}));
  EXPECT_EQ(json["nssModule"], "quarrydemo");
  EXPECT_EQ(json["nssModuleParameters"], nlohmann::json({"UNAVAIL=continue"}));
}

TEST_F(StoreCommandsTest, ReportsAMissingPluginAsALibraryError) {
  Shell("rm /usr/libexec/quarryauth/lib64/libquarrydemo.so");
  const ToolResult failed = RunTool({"status"});
  EXPECT_EQ(failed.exitStatus, 3);
  EXPECT_EQ(failed.err.rfind("quarryauthctl: Unable to open provider: ", 0), 0u)
      << failed.err;
}

TEST_F(StoreCommandsTest, GivesHelpForTheToolAndEachSubcommand) {
  const ToolResult help = RunTool({"--help"});
  EXPECT_EQ(help.exitStatus, 0);
  for (const char* command :
       {"stores", "activate", "provider", "status", "join", "join-proxy",
        "proxy-domain", "import-proxy-cert", "leave", "dc", "smartcard",
        "principal", "username", "pam", "nss"}) {
    EXPECT_NE(help.out.find(command), std::string::npos) << command;
    const ToolResult sub = RunTool({command, "--help"});
    EXPECT_EQ(sub.exitStatus, 0) << command;
    EXPECT_NE(sub.out.find("Usage:"), std::string::npos) << command;
  }
  const ToolResult nested = RunTool({"pam", "add", "--help"});
  EXPECT_EQ(nested.exitStatus, 0);
  EXPECT_NE(nested.out.find("--before"), std::string::npos);
}

TEST_F(StoreCommandsTest, TreatsAWrongCommandLineAsAUsageError) {
  EXPECT_EQ(RunTool({}).exitStatus, 2);
  EXPECT_EQ(RunTool({"no-such-command"}).exitStatus, 2);
  EXPECT_EQ(RunTool({"activate"}).exitStatus, 2);
  EXPECT_EQ(RunTool({"status", "--timeout", "0"}).exitStatus, 2);
}

}  // namespace
}  // namespace quarryauthctl_test
