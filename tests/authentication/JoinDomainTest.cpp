// Joining a domain with an administrator's credentials and leaving it:
// the plug-in's join, the host-name checks and the configuration store's
// record kept in step.
#include <string>
#include <syslog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>

#include "authentication/HostSetup.h"
#include "authentication/JoinSupport.h"
#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::LogLine;
using quarryauth_test::PluginControl;
using quarryauth_test::ReadFile;
using quarryauth_test::WriteFile;
using SkarnConfigStore::ConfigStoreException;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

const char kNoUser[] =
    "The credentials that were provided were invalid: no username was "
    "specified";
const char kNoPassword[] =
    "The credentials that were provided were invalid: empty or no password "
    "was specified; the account must have a non-empty password to join the "
    "host to domain";

class JoinDomain : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = quarryauth_test::InstallStandardPlugin();
    quarryauth_test::AddManagementInterface();
    quarryauth_test::SetHost("node1.ad.test", "node1.ad.test node1");
    store_.reset(new qa::ActiveDirectoryStore(60));
    plugin_.reset(new PluginControl(path_));
  }

  std::string Failure(const std::string& domain, const Credentials& credentials,
                      bool skip) {
    try {
      store_->JoinDomain(domain, credentials, skip);
    } catch (const qa::Exception& error) {
      return error.what();
    }
    return "(nothing thrown)";
  }

  Credentials admin_{"Administrator", "secret"};
  std::string path_;
  std::unique_ptr<qa::ActiveDirectoryStore> store_;
  std::unique_ptr<PluginControl> plugin_;
};

TEST_F(JoinDomain, JoinsChecksTheHostAndRecordsTheDomain) {
  store_->JoinDomain("ad.test", admin_, false);
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 1);
  EXPECT_THAT(plugin_->Arguments(TEST_OP_JOIN_DOMAIN),
              ElementsAre(Optional(std::string("ad.test")), std::nullopt));
  EXPECT_EQ(plugin_->CredentialsPassed(TEST_OP_JOIN_DOMAIN), &admin_);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test||");
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.ad.test node1");
  EXPECT_EQ(quarryauth_test::SleepCalls(), 0);
}

TEST_F(JoinDomain, NullUserNameIsRefusedBeforeAnything) {
  const std::string hostsBefore = ReadFile("/etc/hosts");
  Credentials credentials{nullptr, "secret"};
  EXPECT_EQ(Failure("ad.test", credentials, false), kNoUser);
  EXPECT_EQ(Failure("ad.test", credentials, true), kNoUser);
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 0);
  EXPECT_EQ(ReadFile("/etc/hosts"), hostsBefore);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(JoinDomain, EmptyOrNullPasswordIsRefusedAlsoWithoutChecks) {
  const std::string hostsBefore = ReadFile("/etc/hosts");
  const std::string resolvBefore = ReadFile("/etc/resolv.conf");
  for (const char* password : {static_cast<const char*>(nullptr), ""}) {
    Credentials credentials{"Administrator", password};
    EXPECT_EQ(Failure("ad.test", credentials, false), kNoPassword);
    EXPECT_EQ(Failure("ad.test", credentials, true), kNoPassword);
  }
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 0);
  EXPECT_EQ(ReadFile("/etc/hosts"), hostsBefore);
  EXPECT_EQ(ReadFile("/etc/resolv.conf"), resolvBefore);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(JoinDomain, EmptyUserNameIsHandedToThePlugin) {
  Credentials credentials{"", "secret"};
  store_->JoinDomain("ad.test", credentials, true);
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 1);
}

TEST_F(JoinDomain, OrganizationalUnitIsEverythingAfterTheFirstSlash) {
  store_->JoinDomain("ad.test/OU=Hosts/Linux,DC=ad", admin_, true);
  EXPECT_THAT(plugin_->Arguments(TEST_OP_JOIN_DOMAIN),
              ElementsAre(Optional(std::string("ad.test")),
                          Optional(std::string("OU=Hosts/Linux,DC=ad"))));
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test|OU=Hosts/Linux,DC=ad|");
}

TEST_F(JoinDomain, TrailingSlashGivesNoOrganizationalUnit) {
  store_->JoinDomain("ad.test/", admin_, true);
  EXPECT_THAT(plugin_->Arguments(TEST_OP_JOIN_DOMAIN),
              ElementsAre(Optional(std::string("ad.test")), std::nullopt));
}

TEST_F(JoinDomain, LeadingSlashPassesAnEmptyDomainName) {
  store_->JoinDomain("/OU=Hosts", admin_, true);
  EXPECT_THAT(plugin_->Arguments(TEST_OP_JOIN_DOMAIN),
              ElementsAre(Optional(std::string("")),
                          Optional(std::string("OU=Hosts"))));
}

TEST_F(JoinDomain, SkippingChecksJoinsAHostCalledLocalhost) {
  quarryauth_test::SetHost("localhost", "localhost");
  const std::string hostsBefore = ReadFile("/etc/hosts");
  store_->JoinDomain("ad.test", admin_, true);
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 1);
  EXPECT_EQ(ReadFile("/etc/hosts"), hostsBefore);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test||");
}

TEST_F(JoinDomain, HostNameRefusalStopsBeforeThePlugin) {
  quarryauth_test::SetHost("localhost.ad.test", "localhost.ad.test localhost");
  EXPECT_EQ(Failure("ad.test", admin_, false),
            "The current hostname is invalid: hostname is in blacklist");
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 0);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(JoinDomain, PluginFailureStoresNothing) {
  plugin_->SetStatus(TEST_OP_JOIN_DOMAIN, 1355);
  EXPECT_THROW(store_->JoinDomain("ad.test", admin_, false),
               qa::NoSuchDomainException);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
  // The host-name step ran before the plug-in and its hosts entry stays.
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.ad.test node1");
  EXPECT_EQ(quarryauth_test::SleepCalls(), 0);
}

TEST_F(JoinDomain, RepeatedLogonFailureRetriesFourTimes) {
  plugin_->SetStatus(TEST_OP_JOIN_DOMAIN, 1326);
  EXPECT_THROW(store_->JoinDomain("ad.test", admin_, true),
               qa::LogonFailureException);
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 4);
  EXPECT_EQ(quarryauth_test::SleepCalls(), 4);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(JoinDomain, StoreFailureLeavesTheDomainAndRaisesTheStoreException) {
  quarryauth_test::BreakConfigurationStore();
  std::string message;
  try {
    store_->JoinDomain("ad.test", admin_, true);
    FAIL();
  } catch (const ConfigStoreException& error) {
    message = error.what();
    EXPECT_EQ(static_cast<unsigned>(error.GetCode()), 1001u);
  }
  EXPECT_EQ(plugin_->Calls(TEST_OP_JOIN_DOMAIN), 1);
  EXPECT_EQ(plugin_->Calls(TEST_OP_PART_DOMAIN), 1);
  EXPECT_EQ(plugin_->CredentialsPassed(TEST_OP_PART_DOMAIN), nullptr);
  EXPECT_THAT(CapturedLog(),
              ElementsAre(LogLine{LOG_ERR,
                                  "Failed to store domain details to Config "
                                  "Store: " + message + ".Leaving Domain..."}));
}

TEST_F(JoinDomain, FailingUndoReplacesTheStoreException) {
  quarryauth_test::BreakConfigurationStore();
  plugin_->SetStatus(TEST_OP_PART_DOMAIN, 1311);
  EXPECT_THROW(store_->JoinDomain("ad.test", admin_, true),
               qa::NoLogonServersException);
  EXPECT_EQ(CapturedLog().size(), 1u);
}

TEST_F(JoinDomain, LeavingWithoutCredentialsRemovesTheRecord) {
  store_->JoinDomain("ad.test/OU=Hosts", admin_, true);
  store_->PartDomain();
  EXPECT_EQ(plugin_->Calls(TEST_OP_PART_DOMAIN), 1);
  EXPECT_EQ(plugin_->CredentialsPassed(TEST_OP_PART_DOMAIN), nullptr);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(JoinDomain, LeavingWithCredentialsKeepsTheRecord) {
  store_->JoinDomain("ad.test", admin_, true);
  store_->PartDomain(admin_);
  EXPECT_EQ(plugin_->CredentialsPassed(TEST_OP_PART_DOMAIN), &admin_);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test||");
}

TEST_F(JoinDomain, LeavingKeepsTheAcceptedProxyCertificate) {
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("AA:BB", "pem");
  store_->JoinDomain("ad.test", admin_, true);
  store_->PartDomain();
  qa::ActiveDirectoryConfigStore configStore;
  EXPECT_THROW(configStore.GetDomainName(), qa::ConfigurationError);
  EXPECT_EQ(configStore.GetThumbprint(), "AA:BB");
}

TEST_F(JoinDomain, DirectJoinAfterAJoinWithAnOrganizationalUnitLeavesNone) {
  store_->JoinDomain("ad.test/OU=Hosts", admin_, true);
  store_->JoinDomain("ad.test", admin_, true);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test||");
}

TEST_F(JoinDomain, FailedRemovalOnLeaveIsLoggedAndRaised) {
  store_->JoinDomain("ad.test", admin_, true);
  quarryauth_test::BreakConfigurationStore();
  std::string message;
  try {
    store_->PartDomain();
    FAIL();
  } catch (const ConfigStoreException& error) {
    message = error.what();
  }
  EXPECT_EQ(plugin_->Calls(TEST_OP_PART_DOMAIN), 1);
  EXPECT_THAT(CapturedLog(),
              ElementsAre(LogLine{LOG_ERR,
                                  "Failed to remove domain details from "
                                  "Config Store: " + message}));
}

TEST_F(JoinDomain, PluginFailureOnLeaveKeepsTheRecord) {
  store_->JoinDomain("ad.test", admin_, true);
  plugin_->SetStatus(TEST_OP_PART_DOMAIN, 1355);
  EXPECT_THROW(store_->PartDomain(), qa::NoSuchDomainException);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test||");
}

}  // namespace
