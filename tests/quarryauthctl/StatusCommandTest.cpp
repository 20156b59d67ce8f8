// "status": every field, and the answers from the cache after a time-out.
#include <gtest/gtest.h>

#include <chrono>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

class StatusCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo();
    PrepareHostForJoin();
  }
};

TEST_F(StatusCommandTest, SaysWhenTheHostIsNotJoined) {
  const ToolResult text = RunTool({"status"});
  EXPECT_EQ(text.exitStatus, 5);
  EXPECT_NE(text.out.find("Domain (DNS name):            (not joined)\n"),
            std::string::npos)
      << text.out;
  const nlohmann::json json = RunTool({"status", "--json"}).Json();
  EXPECT_EQ(json["activeStore"], "None");
  EXPECT_EQ(json["joined"], false);
  EXPECT_EQ(json["trustedDomains"], nlohmann::json::array());
  EXPECT_EQ(json["trustState"], 0);
}

TEST_F(StatusCommandTest, ShowsEveryFieldOfAJoinedHost) {
  RunTool({"activate", "Active Directory"});
  Join("Servers");
  RunTool({"dc", "set", "dc2.ad.test", "dc1.ad.test"});
  const ToolResult result = RunTool({"status", "--json", "--timeout", "5"});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  const nlohmann::json json = result.Json();
  EXPECT_EQ(json["activeStore"], "Active Directory");
  EXPECT_EQ(json["joined"], true);
  EXPECT_EQ(json["domain"]["dnsName"], "ad.test");
  EXPECT_EQ(json["domain"]["netbiosName"], "AD");
  EXPECT_EQ(json["organizationalUnit"], "Servers");
  EXPECT_EQ(json["authProxyAddress"], "");
  EXPECT_EQ(json["machineAccountDN"], "CN=NODE1,OU=Servers,DC=ad,DC=test");
  EXPECT_EQ(json["preferredDomainControllers"],
            nlohmann::json({"dc2.ad.test", "dc1.ad.test"}));
  ASSERT_EQ(json["trustedDomains"].size(), 2u);
  EXPECT_EQ(json["trustedDomains"][0]["dnsName"], "emea.ad.test");
  EXPECT_EQ(json["trustedDomains"][0]["netbiosName"], "EMEA");
  EXPECT_EQ(json["trustedDomains"][1]["dnsName"], "partner.test");
  EXPECT_EQ(json["trustState"], 1);
  EXPECT_EQ(json["timeoutSeconds"], 5);
  EXPECT_EQ(json["fromCache"]["configuration"], false);
  EXPECT_EQ(json["fromCache"]["trustedDomains"], false);
  EXPECT_EQ(json["fromCache"]["trustState"], false);

  const ToolResult text = RunTool({"status"});
  EXPECT_EQ(text.exitStatus, 0);
  EXPECT_EQ(text.out,
            "Active store:                 Active Directory\n"
            "Domain (DNS name):            ad.test\n"
            "Domain (NetBIOS name):        AD\n"
            "Organizational unit:          Servers\n"
            "Authentication proxy:         (none)\n"
            "Machine account:              CN=NODE1,OU=Servers,DC=ad,DC=test\n"
            "Preferred domain controllers: dc2.ad.test dc1.ad.test\n"
            "Trusted domains:              emea.ad.test (EMEA), partner.test "
            "(PARTNER)\n"
            "Trust state:                  1\n");
}

TEST_F(StatusCommandTest, AnswersFromTheCacheWhenThePluginHangs) {
  Join();
  WriteFile("/etc/quarry/quarrydemo.conf",
            ReadFile("/etc/quarry/quarrydemo.conf") +
                "delay-seconds = \"forever\"\n");
  const auto start = std::chrono::steady_clock::now();
  const ToolResult result = RunTool({"status", "--json", "--timeout", "1"});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(result.exitStatus, 4) << result.err;
  const nlohmann::json json = result.Json();
  EXPECT_EQ(json["fromCache"]["configuration"], true);
  EXPECT_EQ(json["fromCache"]["trustedDomains"], true);
  EXPECT_EQ(json["fromCache"]["trustState"], true);
  EXPECT_EQ(json["joined"], nullptr);
  EXPECT_EQ(json["trustState"], 2);  // the library's "no answer in time"
  // Not from the plug-in: the host configuration store's record.
  EXPECT_EQ(json["domain"]["dnsName"], "");
  EXPECT_EQ(json["timeoutSeconds"], 1);

  const ToolResult text = RunTool({"status", "--timeout", "1"});
  EXPECT_EQ(text.exitStatus, 4);
  EXPECT_NE(text.out.find("Domain (DNS name):            (no answer)  "
                          "[cached: no answer within 1 s]\n"),
            std::string::npos)
      << text.out;
  EXPECT_NE(text.out.find("Trust state:                  2 (no answer in "
                          "time)  [cached: no answer within 1 s]\n"),
            std::string::npos)
      << text.out;
}

TEST_F(StatusCommandTest, WaitsForASlowPluginWithinTheTimeout) {
  Join();
  WriteFile(
      "/etc/quarry/quarrydemo.conf",
      ReadFile("/etc/quarry/quarrydemo.conf") + "delay-seconds = \"1\"\n");
  const ToolResult result = RunTool({"status", "--json", "--timeout", "10"});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(result.Json()["fromCache"]["configuration"], false);
  EXPECT_EQ(result.Json()["domain"]["dnsName"], "ad.test");
}

}  // namespace
}  // namespace quarryauthctl_test
