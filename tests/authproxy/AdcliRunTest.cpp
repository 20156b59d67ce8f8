// Reading adcli's verbose output, running helper programs with a time
// limit, and one-time passwords.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <set>

#include "common/ChildProcess.h"
#include "services/authproxyd/AdcliOutput.h"
#include "services/authproxyd/OneTimePassword.h"

namespace quarry::authproxyd {
namespace {

// As Debian's adcli 0.9.1 prints it against a Samba domain controller.
const char kPresetOutput[] =
    " ! Failed to find FQDN: Name or service not known\n"
    " * Using domain name: ad.test\n"
    " * Authenticated as user: Administrator@AD.TEST\n"
    " * Using GSS-SPNEGO for SASL bind\n"
    " * Looked up short domain name: AD\n"
    " * Looked up domain SID: S-1-5-21-1560714432-4041253460-2393576878\n"
    " * A computer account for NODE1$ does not exist\n"
    " * Calculated computer account: CN=NODE1,CN=Computers,DC=ad,DC=test\n"
    " * Created computer account: CN=NODE1,CN=Computers,DC=ad,DC=test\n"
    "computer-name: NODE1\n";

const char kExistsOutput[] =
    " * Found computer account for NODE1$ at: "
    "CN=NODE1,OU=Old\\, Hosts,DC=ad,DC=test\n"
    " ! The computer account NODE1 already exists\n"
    "adcli: presetting node1.ad.test in ad.test domain failed: The computer "
    "account NODE1 already exists\n";

TEST(AdcliRunTest, ReadsTheDomainAndTheCreatedAccount) {
  const auto identity = LookedUpDomain(kPresetOutput, "ad.test");
  ASSERT_TRUE(identity.has_value());
  EXPECT_EQ(identity->netbiosName, "AD");
  EXPECT_EQ(identity->dnsName, "ad.test");
  EXPECT_EQ(identity->sid, "S-1-5-21-1560714432-4041253460-2393576878");
  EXPECT_EQ(CreatedAccount(kPresetOutput), "CN=NODE1,CN=Computers,DC=ad,DC=test");
  EXPECT_EQ(AdcliFailure(kPresetOutput), "Failed to find FQDN: Name or service not known");
  EXPECT_FALSE(LookedUpDomain(kExistsOutput, "ad.test").has_value());
  EXPECT_EQ(CreatedAccount(kExistsOutput), "");
}

TEST(AdcliRunTest, ReadsAnExistingAccountAndWhyAdcliFailed) {
  EXPECT_EQ(FoundAccount(kExistsOutput), "CN=NODE1,OU=Old\\, Hosts,DC=ad,DC=test");
  EXPECT_EQ(ParentDN(FoundAccount(kExistsOutput)), "OU=Old\\, Hosts,DC=ad,DC=test");
  EXPECT_EQ(ParentDN("DC=test"), "");
  EXPECT_EQ(AdcliFailure(kExistsOutput),
            "presetting node1.ad.test in ad.test domain failed: The computer "
            "account NODE1 already exists");
  EXPECT_EQ(AdcliFailure(""), "adcli failed without saying why");
}

TEST(AdcliRunTest, RunsAProgramWithInputAndCollectsItsOutput) {
  const common::ChildResult result = common::RunChild(
      {"sh", "-c", "read line; echo \"got $line\"; echo oops >&2; exit 3"},
      "secret\n", std::chrono::seconds(10), common::ChildErrors::IntoOutput);
  EXPECT_TRUE(result.started);
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.output, "got secret\noops\n");
  EXPECT_EQ(result.errors, "");
}

TEST(AdcliRunTest, KeepsStandardErrorApartWhenAsked) {
  const common::ChildResult result = common::RunChild(
      {"/bin/sh", "-c", "echo out; echo err >&2; echo \"$LC_ALL\""}, "",
      std::chrono::seconds(10));
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "out\nC\n");
  EXPECT_EQ(result.errors, "err\n");
}

TEST(AdcliRunTest, KillsAProgramAndItsChildrenAfterTheLimit) {
  const auto started = std::chrono::steady_clock::now();
  const common::ChildResult result = common::RunChild(
      {"sh", "-c", "sleep 60 & echo started; wait"}, "",
      std::chrono::milliseconds(300));
  const auto took = std::chrono::steady_clock::now() - started;
  EXPECT_TRUE(result.timedOut);
  EXPECT_EQ(result.exitStatus, -1);
  EXPECT_EQ(result.output, "started\n");
  EXPECT_LT(took, std::chrono::seconds(5));
}

TEST(AdcliRunTest, ReportsAProgramThatIsNotThere) {
  const common::ChildResult result = common::RunChild(
      {"quarry-no-such-program"}, "", std::chrono::seconds(10));
  EXPECT_FALSE(result.started);
  EXPECT_EQ(result.startError, ENOENT);
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitStatus, -1);
}

TEST(AdcliRunTest, MakesFreshPasswordsOfEveryCharacterClass) {
  std::set<std::string> seen;
  for (int i = 0; i < 200; ++i) {
    const std::string password = MakeOneTimePassword();
    ASSERT_EQ(password.size(), kOneTimePasswordLength);
    EXPECT_EQ(password.find_first_not_of(
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              std::string::npos);
    EXPECT_NE(password.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), std::string::npos);
    EXPECT_NE(password.find_first_of("abcdefghijklmnopqrstuvwxyz"), std::string::npos);
    EXPECT_NE(password.find_first_of("0123456789"), std::string::npos);
    seen.insert(password);
  }
  EXPECT_EQ(seen.size(), 200u);
}

}  // namespace
}  // namespace quarry::authproxyd
