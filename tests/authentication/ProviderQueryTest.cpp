// The directory provider's queries and settings: what it passes to the
// plug-in, what it copies back, and what it releases.
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/CountedSleeps.h"
#include "authentication/ProviderOperations.h"
#include "authentication/SyslogCapture.h"

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::ProviderOperations;
using quarryauth_test::Sleeps;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

TEST_F(ProviderOperations, ActiveDomainReleasesEachText) {
  plugin.SetTexts(TEST_OP_GET_ACTIVE_DOMAIN, {"example.com", "EXAMPLE"});
  EXPECT_EQ(qa::Domain("example.com", "EXAMPLE"), Provider().GetActiveDomain());
  EXPECT_EQ(2, plugin.Releases());
  EXPECT_EQ(0, plugin.NullReleases());
}

TEST_F(ProviderOperations, ActiveDomainLeavesANullNameEmptyUnreleased) {
  plugin.SetTexts(TEST_OP_GET_ACTIVE_DOMAIN, {"example.com", nullptr});
  EXPECT_EQ(qa::Domain("example.com", ""), Provider().GetActiveDomain());
  EXPECT_EQ(1, plugin.Releases());
  EXPECT_EQ(0, plugin.NullReleases());
}

TEST_F(ProviderOperations, ActiveDomainWithoutNamesReleasesNothing) {
  EXPECT_EQ(qa::Domain(), Provider().GetActiveDomain());
  EXPECT_EQ(0, plugin.Releases());
}

TEST_F(ProviderOperations, PreferredControllersArePassedAsANullTerminatedList) {
  Provider().SetPreferredDomainControllers({"dc1.example.com", "dc2"});
  EXPECT_THAT(plugin.Arguments(TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS),
              ElementsAre("dc1.example.com", "dc2"));
  Provider().SetPreferredDomainControllers({});
  EXPECT_THAT(plugin.Arguments(TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS),
              IsEmpty());
}

TEST_F(ProviderOperations, PreferredControllersAreCopiedAndReleasedOnce) {
  plugin.SetTexts(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS, {"dc2", "dc1"});
  EXPECT_THAT(Provider().GetPreferredDomainControllers(),
              ElementsAre("dc2", "dc1"));
  EXPECT_EQ(1, plugin.Releases());
}

TEST_F(ProviderOperations, NullPreferredControllerListIsEmptyAndReleased) {
  plugin.SetNullList(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS);
  EXPECT_THAT(Provider().GetPreferredDomainControllers(), IsEmpty());
  EXPECT_EQ(1, plugin.Releases());
  EXPECT_EQ(1, plugin.NullReleases());
}

TEST_F(ProviderOperations, TrustStateIsThePluginsValueUnmapped) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 1326);
  EXPECT_EQ(1326u, Provider().GetDomainTrustState());
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 0xDEADBEEF);
  EXPECT_EQ(0xDEADBEEFu, Provider().GetDomainTrustState());
}

TEST_F(ProviderOperations, TrustedDomainsAreCopiedPairByPair) {
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS,
                  {"a.example.com", "A", "b.example.com", "B"});
  EXPECT_THAT(Provider().GetTrustedDomains(),
              ElementsAre(qa::Domain("a.example.com", "A"),
                          qa::Domain("b.example.com", "B")));
  EXPECT_EQ(1, plugin.Releases());
}

TEST_F(ProviderOperations, NullTrustedDomainListIsEmptyAndReleased) {
  plugin.SetNullList(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_THAT(Provider().GetTrustedDomains(), IsEmpty());
  EXPECT_EQ(1, plugin.NullReleases());
}

TEST_F(ProviderOperations, MachineAccountDnIsReleasedOnce) {
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN,
                  {"CN=NODE1,CN=Computers,DC=example,DC=com"});
  EXPECT_EQ("CN=NODE1,CN=Computers,DC=example,DC=com",
            Provider().GetMachineAccountDN());
  EXPECT_EQ(1, plugin.Releases());
  EXPECT_EQ(0, plugin.NullReleases());
}

TEST_F(ProviderOperations, NullSingleTextIsEmptyAndStillReleased) {
  EXPECT_EQ("", Provider().GetMachineAccountDN());
  EXPECT_EQ(1, plugin.Releases());
  EXPECT_EQ(1, plugin.NullReleases());
}

TEST_F(ProviderOperations, AnyDomainControllerPassesAnEmptyFirstAsNull) {
  plugin.SetTexts(TEST_OP_GET_ANY_DOMAIN_CONTROLLER, {"dc1.example.com"});
  EXPECT_EQ("dc1.example.com",
            Provider().GetAnyDomainController("", "example.com"));
  EXPECT_THAT(plugin.Arguments(TEST_OP_GET_ANY_DOMAIN_CONTROLLER),
              ElementsAre(std::nullopt, "example.com"));
  Provider().GetAnyDomainController("site", "example.com");
  EXPECT_THAT(plugin.Arguments(TEST_OP_GET_ANY_DOMAIN_CONTROLLER),
              ElementsAre("site", "example.com"));
  EXPECT_EQ(2, plugin.Releases());
}

TEST_F(ProviderOperations, CanonicalUsernameIsConverted) {
  plugin.SetTexts(TEST_OP_CONVERT_CANONICAL_USERNAME, {"EXAMPLE\\alice"});
  EXPECT_EQ("EXAMPLE\\alice",
            Provider().ConvertCanonicalUsername("alice@example.com"));
  EXPECT_THAT(plugin.Arguments(TEST_OP_CONVERT_CANONICAL_USERNAME),
              ElementsAre("alice@example.com"));
  EXPECT_EQ(1, plugin.Releases());
}

TEST_F(ProviderOperations, TrustRelationshipIsThePluginsValueUnmapped) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP, 1355);
  EXPECT_EQ(1355u, Provider().GetDomainTrustRelationship("b.example.com"));
  EXPECT_THAT(plugin.Arguments(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP),
              ElementsAre("b.example.com"));
}

TEST_F(ProviderOperations, SmartCardServicesArePassedAsANullTerminatedList) {
  Provider().SetSmartCardEnabledServices({"sshd", "login", "vsftpd"});
  EXPECT_THAT(plugin.Arguments(TEST_OP_SET_SMART_CARD_ENABLED_SERVICES),
              ElementsAre("sshd", "login", "vsftpd"));
}

TEST_F(ProviderOperations, SmartCardServicesAreCopiedAndReleasedOnce) {
  plugin.SetTexts(TEST_OP_GET_SMART_CARD_ENABLED_SERVICES, {"sshd", "login"});
  EXPECT_THAT(Provider().GetSmartCardEnabledServices(),
              ElementsAre("sshd", "login"));
  EXPECT_EQ(1, plugin.Releases());
}

TEST_F(ProviderOperations, NullSmartCardListIsEmptyAndReleased) {
  plugin.SetNullList(TEST_OP_GET_SMART_CARD_ENABLED_SERVICES);
  EXPECT_THAT(Provider().GetSmartCardEnabledServices(), IsEmpty());
  EXPECT_EQ(1, plugin.NullReleases());
}

TEST_F(ProviderOperations, NoOtherOperationRetriesOrLogs) {
  plugin.SetStatus(TEST_OP_PART_DOMAIN, ADCLIENT_STATUS_LOGON_FAILURE);
  EXPECT_THROW(Provider().PartDomain(), qa::LogonFailureException);
  EXPECT_EQ(1, plugin.Calls(TEST_OP_PART_DOMAIN));
  EXPECT_THAT(Sleeps(), IsEmpty());
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

}  // namespace
