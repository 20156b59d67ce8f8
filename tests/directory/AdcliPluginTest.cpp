// quarryadcli's own table, called directly against the real DC: the exact
// status codes, the join with a preset account's one-time password, and
// the answers that come from its membership record.
#include <dlfcn.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include "directory/DirectoryHost.h"
#include "support/Files.h"

namespace {

using quarryauth_directory_test::DomainController;
using quarryauth_directory_test::Quote;
using quarryauth_directory_test::RunCommand;

const char kPluginPath[] = "/usr/libexec/quarryauth/lib64/libquarryadcli.so";
const char kOneTimePassword[] = "Once-Only-4711";

class AdcliPlugin : public ::testing::Test {
 protected:
  void SetUp() override {
    controller_ = std::make_unique<DomainController>();
    ASSERT_FALSE(HasFailure());
    quarryauth_directory_test::PrepareHost();
    handle_ = dlopen(kPluginPath, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle_, nullptr) << dlerror();
    metadata_ = static_cast<const ADClientMetadata*>(
        dlsym(handle_, ACTIVE_DIRECTORY_CLIENT_METADATA_SYMBOL));
    table_ = static_cast<const ADClientOperations*>(
        dlsym(handle_, ACTIVE_DIRECTORY_CLIENT_OPERATIONS_SYMBOL));
    ASSERT_NE(metadata_, nullptr);
    ASSERT_NE(table_, nullptr);
  }
  void TearDown() override {
    if (handle_ != nullptr) dlclose(handle_);
  }

  ADClientStatus Join(const char* password, const char* unit = nullptr) {
    Credentials credentials{"Administrator", password};
    return table_->JoinDomain("ad.test", unit, &credentials);
  }

  // Text answers, released the way the library releases them.
  std::string Text(ADClientStatus (*call)(const char*, char**,
                                          ADClientReleaseFunction*),
                   const char* argument, ADClientStatus& status) {
    char* text = nullptr;
    ADClientReleaseFunction release = nullptr;
    status = call(argument, &text, &release);
    if (status != 0) return "";
    std::string copy = text ? text : "(null)";
    release(text);
    return copy;
  }

  void PresetAccount() {
    const auto preset = RunCommand(
        "echo Quarry-Admin-1 | adcli preset-computer --stdin-password "
        "--login-user=Administrator --domain=ad.test --one-time-password=" +
        Quote(kOneTimePassword) + " node1.ad.test");
    ASSERT_EQ(preset.exitStatus, 0) << preset.output;
  }

  ADClientStatus JoinWithMachineAccount(const char* password) {
    ADClientDirectoryDomainInfo domain{"", "AD", "ad.test", "S-1-5-21-0"};
    ADClientMachineAccountInfo account{
        "node1", "ad.test", "", "CN=NODE1,CN=Computers,DC=ad,DC=test",
        password};
    return table_->JoinDomainWithMachineAccount(&domain, &account);
  }

  std::unique_ptr<DomainController> controller_;
  void* handle_ = nullptr;
  const ADClientMetadata* metadata_ = nullptr;
  const ADClientOperations* table_ = nullptr;
};

TEST_F(AdcliPlugin, DescribesSssdModulesAndTheInterfaceVersions) {
  EXPECT_EQ(metadata_->version, 3);
  EXPECT_STREQ(metadata_->pamModule, "pam_sss.so");
  EXPECT_STREQ(metadata_->pamModuleParameters, "use_first_pass");
  EXPECT_STREQ(metadata_->nssModule, "sss");
  EXPECT_EQ(metadata_->nssModuleParameters, nullptr);
  EXPECT_EQ(table_->version, 2);
  EXPECT_EQ(table_->reserved, nullptr);
}

TEST_F(AdcliPlugin, WrongPasswordIsLogonFailure) {
  EXPECT_EQ(Join("not-it"), 1326u);
  Credentials unknown{"nobody", "Quarry-Admin-1"};
  EXPECT_EQ(table_->JoinDomain("ad.test", nullptr, &unknown), 1326u);
  EXPECT_FALSE(quarry_test::Exists("/var/lib/quarry/quarryadcli.state"));
}

TEST_F(AdcliPlugin, JoinTwiceIsAlreadyJoinedAndLeaveTwiceIsNotJoined) {
  ASSERT_EQ(Join("Quarry-Admin-1"), 0u);
  EXPECT_EQ(Join("Quarry-Admin-1"), 2691u);
  EXPECT_EQ(table_->PartDomain(nullptr), 0u);
  EXPECT_EQ(table_->PartDomain(nullptr), 2692u);
}

// A join whose directory client cannot be configured is taken back whole:
// no record, no keys, no account; status 29 says what failed.
TEST_F(AdcliPlugin, TakesTheJoinBackWhenTheClientCannotBeConfigured) {
  quarry_test::Shell("rm -rf /etc/sssd/conf.d && mkdir -p /etc/sssd && "
                     "touch /etc/sssd/conf.d");
  EXPECT_EQ(Join("Quarry-Admin-1"), 29u);
  EXPECT_FALSE(quarry_test::Exists("/var/lib/quarry/quarryadcli.state"));
  EXPECT_FALSE(quarry_test::Exists("/etc/krb5.keytab"));
  EXPECT_FALSE(quarry_test::Exists("/etc/krb5.conf.d/quarryadcli-AD.TEST.conf"));
  EXPECT_TRUE(controller_->Search("DC=ad,DC=test", "(sAMAccountName=NODE1$)").empty());
  // Once SSSD's folder can be written, the same join succeeds.
  quarry_test::Shell("rm /etc/sssd/conf.d");
  EXPECT_EQ(Join("Quarry-Admin-1"), 0u);
  EXPECT_TRUE(quarry_test::Exists("/etc/sssd/conf.d/quarryadcli-ad.test.conf"));
}

// Without SSSD the domain's users could not log in: the join is refused
// before the directory is asked, with status 1060.
TEST_F(AdcliPlugin, RefusesToJoinWhereSssdIsNotInstalled) {
  quarry_test::Shell("mount --bind /dev/null /usr/sbin/sssd");
  EXPECT_EQ(Join("Quarry-Admin-1"), 1060u);
  EXPECT_FALSE(quarry_test::Exists("/var/lib/quarry/quarryadcli.state"));
  EXPECT_FALSE(quarry_test::Exists("/etc/krb5.keytab"));
  EXPECT_FALSE(quarry_test::Exists("/etc/sssd/conf.d/quarryadcli-ad.test.conf"));
  EXPECT_TRUE(controller_->Search("DC=ad,DC=test", "(sAMAccountName=NODE1$)").empty());
}

// Kerberos settings that cannot be parsed would fail SSSD after the join:
// the join is refused before anything changes, with status 1610.
TEST_F(AdcliPlugin, RefusesToJoinWhereTheKerberosSettingsCannotBeRead) {
  const std::string broken = "[libdefaults\n default_realm = AD.TEST\n";
  quarry_test::WriteFile("/etc/krb5.conf", broken);
  EXPECT_EQ(Join("Quarry-Admin-1"), 1610u);
  EXPECT_EQ(quarry_test::ReadFile("/etc/krb5.conf"), broken);
  EXPECT_FALSE(quarry_test::Exists("/var/lib/quarry/quarryadcli.state"));
  EXPECT_FALSE(quarry_test::Exists("/etc/krb5.conf.d/quarryadcli-AD.TEST.conf"));
  EXPECT_TRUE(controller_->Search("DC=ad,DC=test", "(sAMAccountName=NODE1$)").empty());
}

TEST_F(AdcliPlugin, JoinsWithAPresetAccountsOneTimePassword) {
  PresetAccount();
  EXPECT_EQ(JoinWithMachineAccount("wrong-one"), 1326u);
  EXPECT_FALSE(quarry_test::Exists("/var/lib/quarry/quarryadcli.state"));
  ASSERT_EQ(JoinWithMachineAccount(kOneTimePassword), 0u);
  EXPECT_EQ(table_->GetDomainTrustState(), 1u);
  char* dn = nullptr;
  ADClientReleaseFunction release = nullptr;
  ASSERT_EQ(table_->GetMachineAccountDN(&dn, &release), 0u);
  EXPECT_STREQ(dn, "CN=NODE1,CN=Computers,DC=ad,DC=test");
  release(dn);
}

TEST_F(AdcliPlugin, NamesAndPrincipalsOfTheJoinedDomain) {
  ASSERT_EQ(Join("Quarry-Admin-1"), 0u);
  ADClientStatus status = 1;
  EXPECT_EQ(Text(table_->GetHostPrincipalForDomain, "ad.test", status),
            "host/node1.ad.test@AD.TEST");
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(Text(table_->ConvertCanonicalUsername, "AD\\jdoe", status),
            "jdoe@AD.TEST");
  EXPECT_EQ(Text(table_->ConvertCanonicalUsername, "jdoe@ad.test", status),
            "jdoe@AD.TEST");
  EXPECT_EQ(Text(table_->ConvertCanonicalUsername, "jdoe", status),
            "jdoe@AD.TEST");
  Text(table_->ConvertCanonicalUsername, "OTHER\\jdoe", status);
  EXPECT_EQ(status, 1355u);
  Text(table_->GetHostPrincipalForDomain, "other.test", status);
  EXPECT_EQ(status, 1355u);
  EXPECT_EQ(table_->GetDomainTrustRelationship("AD"), 1u);
  EXPECT_EQ(table_->GetDomainTrustRelationship("partner.test"), 2u);
  EXPECT_EQ(table_->GetDomainTrustRelationship("other.test"), 0u);
}

TEST_F(AdcliPlugin, FindsDomainControllersThroughDns) {
  char* controller = nullptr;
  ADClientReleaseFunction release = nullptr;
  ASSERT_EQ(table_->GetAnyDomainController(nullptr, "ad.test", &controller,
                                           &release),
            0u);
  EXPECT_STREQ(controller, "dc1.ad.test");
  release(controller);
  EXPECT_EQ(table_->GetAnyDomainController(nullptr, "nowhere.test",
                                           &controller, &release),
            1355u);
}

TEST_F(AdcliPlugin, SettingsAreKeptInItsRecordAcrossAJoin) {
  const char* controllers[] = {"dc1.ad.test", nullptr};
  const char* services[] = {"sshd", "login", nullptr};
  ASSERT_EQ(table_->SetPreferredDomainControllers(controllers), 0u);
  ASSERT_EQ(table_->SetSmartCardEnabledServices(services), 0u);
  ASSERT_EQ(Join("Quarry-Admin-1"), 0u);
  char** list = nullptr;
  ADClientReleaseFunction release = nullptr;
  ASSERT_EQ(table_->GetSmartCardEnabledServices(&list, &release), 0u);
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list[0], "sshd");
  EXPECT_STREQ(list[1], "login");
  EXPECT_EQ(list[2], nullptr);
  release(list);
  const std::string record =
      quarry_test::ReadFile("/var/lib/quarry/quarryadcli.state");
  EXPECT_NE(record.find("preferred_domain_controllers = \"dc1.ad.test\"\n"),
            std::string::npos)
      << record;
  EXPECT_NE(record.find("machine_account_dn = "
                        "\"CN=NODE1,CN=Computers,DC=ad,DC=test\"\n"),
            std::string::npos)
      << record;
  EXPECT_EQ(quarry_test::Mode("/var/lib/quarry/quarryadcli.state"), 0600u);
}

}  // namespace
