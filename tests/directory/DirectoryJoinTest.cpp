// The whole road against a real Samba AD domain controller: library ->
// quarryadcli -> adcli, LDAP and DNS -> the directory.
#include <signal.h>

#include <chrono>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/JoinSupport.h"
#include "directory/DirectoryHost.h"
#include "support/Files.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_directory_test::DomainController;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kComputerDN[] = "CN=NODE1,CN=Computers,DC=ad,DC=test";
const char kComputers[] = "CN=Computers,DC=ad,DC=test";
const char kDomainBase[] = "DC=ad,DC=test";
const qa::TrustState kTrustEstablished = 1;
const qa::TrustState kTrustTimedOut = 2;

class RealDirectory : public ::testing::Test {
 protected:
  void SetUp() override {
    controller_ = std::make_unique<DomainController>();
    ASSERT_FALSE(HasFailure());
    quarryauth_directory_test::PrepareHost();
    store_ = std::make_unique<qa::ActiveDirectoryStore>(60);
    store_->MakeActive();
  }

  qa::ActiveDirectoryStoreConfiguration Configuration() const {
    std::unique_ptr<qa::StoreConfiguration> configuration(
        store_->GetStoreConfiguration());
    auto* directory =
        dynamic_cast<qa::ActiveDirectoryStoreConfiguration*>(configuration.get());
    return directory ? *directory : qa::ActiveDirectoryStoreConfiguration();
  }

  std::vector<std::string> ComputerObjects() {
    return controller_->Search(kDomainBase, "(cn=NODE1)");
  }

  template <class Failure>
  uint64_t JoinFailure(const std::string& domain, const Credentials& credentials,
                       bool skipHostnameChecks = false) {
    try {
      store_->JoinDomain(domain, credentials, skipHostnameChecks);
    } catch (const Failure& failure) {
      return failure.GetCode();
    }
    ADD_FAILURE() << "the join did not fail as expected";
    return 0;
  }

  Credentials administrator_{quarryauth_directory_test::kAdministrator,
                             quarryauth_directory_test::kAdministratorPassword};
  std::unique_ptr<DomainController> controller_;
  std::unique_ptr<qa::ActiveDirectoryStore> store_;
};

TEST_F(RealDirectory, JoinsAndAnswersEveryStatusQuestion) {
  store_->JoinDomain("ad.test", administrator_, false);
  const auto configuration = Configuration();
  EXPECT_EQ(configuration.activeDomain, qa::Domain("ad.test", "AD"));
  EXPECT_EQ(configuration.machineAccountDN, kComputerDN);
  EXPECT_THAT(configuration.preferredDomainControllers, IsEmpty());
  EXPECT_EQ(store_->GetDomainControllerForDomain("ad.test"), "dc1.ad.test");
  EXPECT_EQ(store_->GetDomainTrustState(), kTrustEstablished);
  EXPECT_THAT(store_->GetTrustedDomains(),
              ElementsAre(qa::Domain("partner.test", "PARTNER")));
  EXPECT_EQ(store_->GetHostPrincipalForDomain("ad.test"),
            "host/node1.ad.test@AD.TEST");
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test||");
  EXPECT_THAT(ComputerObjects(), ElementsAre(kComputerDN));
  EXPECT_TRUE(quarry_test::Exists("/etc/krb5.keytab"));
}

// A host process that ignores SIGCHLD still learns how adcli ended.
TEST_F(RealDirectory, JoinsAndLeavesWhileTheHostIgnoresSigchld) {
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction previous;
  ASSERT_EQ(::sigaction(SIGCHLD, &ignore, &previous), 0);
  store_->JoinDomain("ad.test", administrator_, false);
  const auto configuration = Configuration();
  store_->PartDomain(administrator_);
  ::sigaction(SIGCHLD, &previous, nullptr);
  EXPECT_EQ(configuration.activeDomain, qa::Domain("ad.test", "AD"));
  EXPECT_EQ(configuration.machineAccountDN, kComputerDN);
  EXPECT_THAT(ComputerObjects(), IsEmpty());
}

TEST_F(RealDirectory, JoinsIntoAnOrganizationalUnit) {
  controller_->Tool("ou create OU=Servers,DC=ad,DC=test");
  store_->JoinDomain("ad.test/Servers", administrator_, false);
  EXPECT_EQ(Configuration().machineAccountDN,
            "CN=NODE1,OU=Servers,DC=ad,DC=test");
  EXPECT_THAT(ComputerObjects(),
              ElementsAre("CN=NODE1,OU=Servers,DC=ad,DC=test"));
  EXPECT_EQ(quarryauth_test::StoredDomain(), "ad.test|Servers|");
}

TEST_F(RealDirectory, MissingOrganizationalUnitIsRefusedAndLeavesNothing) {
  EXPECT_EQ(JoinFailure<qa::DirectoryException>("ad.test/Nowhere",
                                                administrator_),
            267u);
  EXPECT_THAT(ComputerObjects(), IsEmpty());
  EXPECT_EQ(Configuration().activeDomain, qa::Domain());
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

// The failed logons that the DC has counted against an account.
std::string BadPasswordCount(DomainController& controller,
                             const std::string& user) {
  const std::string shown =
      controller.Tool("user show " + user + " --attributes=badPwdCount");
  const std::string key = "badPwdCount: ";
  const std::size_t at = shown.find(key);
  if (at == std::string::npos) return "(none)";
  return shown.substr(at + key.size(), shown.find('\n', at) - at - key.size());
}

// The library's own four attempts, 30 seconds apart (counted, not slept),
// cost the account one failed logon at the DC: the plug-in does not ask the
// directory again with credentials it has just refused.
TEST_F(RealDirectory, WrongPasswordIsALogonFailureAfterFourAttempts) {
  // The DC counts failed logons only where a lockout threshold is set.
  controller_->Tool("domain passwordsettings set --account-lockout-threshold=10");
  controller_->Tool("user create joiner Joiner-Pass-2026");
  ASSERT_EQ(BadPasswordCount(*controller_, "joiner"), "0");
  Credentials wrong{"joiner", "not-it"};
  EXPECT_EQ(JoinFailure<qa::LogonFailureException>("ad.test", wrong), 1326u);
  EXPECT_EQ(quarryauth_test::SleepCalls(), 4);
  EXPECT_THAT(ComputerObjects(), IsEmpty());
  EXPECT_EQ(BadPasswordCount(*controller_, "joiner"), "1");
  // Another password is asked of the directory again.
  Credentials other{"joiner", "not-it-either"};
  EXPECT_EQ(JoinFailure<qa::LogonFailureException>("ad.test", other), 1326u);
  EXPECT_EQ(BadPasswordCount(*controller_, "joiner"), "2");
}

TEST_F(RealDirectory, UnknownDomainIsNoSuchDomain) {
  EXPECT_EQ(JoinFailure<qa::NoSuchDomainException>("nowhere.test",
                                                   administrator_, true),
            1355u);
  EXPECT_EQ(quarryauth_test::SleepCalls(), 0);
}

TEST_F(RealDirectory, KeysThatCannotBeWrittenLeaveNoAccountBehind) {
  // adcli creates the account before it writes the host's keys.
  quarry_test::Shell("mkdir /etc/krb5.keytab");
  EXPECT_EQ(JoinFailure<qa::AccessDeniedException>("ad.test", administrator_),
            5u);
  EXPECT_THAT(ComputerObjects(), IsEmpty());
  EXPECT_FALSE(quarry_test::Exists("/var/lib/quarry/quarryadcli.state"));
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(RealDirectory, LeavingWithCredentialsDeletesTheComputer) {
  store_->JoinDomain("ad.test", administrator_, false);
  store_->PartDomain(administrator_);
  EXPECT_THAT(ComputerObjects(), IsEmpty());
  EXPECT_FALSE(quarry_test::Exists("/etc/krb5.keytab"));
  EXPECT_EQ(Configuration().activeDomain, qa::Domain());
}

TEST_F(RealDirectory, LeavingWithoutCredentialsKeepsTheComputer) {
  store_->JoinDomain("ad.test", administrator_, false);
  store_->PartDomain();
  EXPECT_THAT(ComputerObjects(), ElementsAre(kComputerDN));
  EXPECT_FALSE(quarry_test::Exists("/etc/krb5.keytab"));
  EXPECT_EQ(Configuration().activeDomain, qa::Domain());
  EXPECT_EQ(store_->GetDomainTrustState(), 0u);
}

// Waits until the store's trust state is established again, for at most
// the given time; the workers of earlier, abandoned queries may still run.
bool TrustComesBack(const qa::ActiveDirectoryStore& store, int seconds) {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (std::chrono::steady_clock::now() < deadline) {
    if (store.GetDomainTrustState() == kTrustEstablished) return true;
    sleep(1);
  }
  return false;
}

TEST_F(RealDirectory, UnreachableControllerIsAnsweredFromTheCacheInTime) {
  store_->JoinDomain("ad.test", administrator_, false);
  // adcli alone needs longer than this to give up on a frozen DC.
  qa::ActiveDirectoryStore quick(2);
  ASSERT_EQ(quick.GetTrustedDomains().size(), 1u);
  ASSERT_EQ(quick.GetDomainTrustState(), kTrustEstablished);

  controller_->Pause();
  const auto started = std::chrono::steady_clock::now();
  EXPECT_THAT(quick.GetTrustedDomains(),
              ElementsAre(qa::Domain("partner.test", "PARTNER")));
  EXPECT_EQ(quick.GetDomainTrustState(), kTrustTimedOut);
  const auto waited = std::chrono::steady_clock::now() - started;
  // Three waits of two seconds (the trust state asks for the trusted
  // domains first), never an open-ended one.
  EXPECT_LT(waited, std::chrono::seconds(9));

  controller_->Resume();
  EXPECT_TRUE(TrustComesBack(quick, 90));
}

TEST_F(RealDirectory, RestartedControllerAnswersAgain) {
  store_->JoinDomain("ad.test", administrator_, false);
  controller_->Restart();
  EXPECT_TRUE(TrustComesBack(*store_, 60));
  EXPECT_EQ(Configuration().machineAccountDN, kComputerDN);
}

}  // namespace
