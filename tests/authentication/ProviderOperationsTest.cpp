// The directory provider's calls through the plug-in's operations table:
// empty slots, table versions and failure statuses, for every operation.
#include <functional>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/CountedSleeps.h"
#include "authentication/ProviderOperations.h"

namespace qa = quarry::authentication;
using quarryauth_test::ProviderOperations;
using quarryauth_test::Sleeps;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// One call of every operation, by slot.
std::map<TestOperation, std::function<void(qa::ActiveDirectoryProvider&)>>
EveryOperation() {
  static Credentials credentials = {"u", "p"};
  using P = qa::ActiveDirectoryProvider;
  return {
      {TEST_OP_JOIN_DOMAIN,
       [](P& p) { p.JoinDomain("example.com", "", credentials); }},
      {TEST_OP_PART_DOMAIN, [](P& p) { p.PartDomain(); }},
      {TEST_OP_GET_ACTIVE_DOMAIN, [](P& p) { p.GetActiveDomain(); }},
      {TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS,
       [](P& p) { p.SetPreferredDomainControllers({"dc1"}); }},
      {TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS,
       [](P& p) { p.GetPreferredDomainControllers(); }},
      {TEST_OP_GET_DOMAIN_TRUST_STATE, [](P& p) { p.GetDomainTrustState(); }},
      {TEST_OP_GET_TRUSTED_DOMAINS, [](P& p) { p.GetTrustedDomains(); }},
      {TEST_OP_GET_MACHINE_ACCOUNT_DN, [](P& p) { p.GetMachineAccountDN(); }},
      {TEST_OP_GET_ANY_DOMAIN_CONTROLLER,
       [](P& p) { p.GetAnyDomainController("", "example.com"); }},
      {TEST_OP_CONVERT_CANONICAL_USERNAME,
       [](P& p) { p.ConvertCanonicalUsername("user"); }},
      {TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT,
       [](P& p) { p.JoinDomainWithMachineAccount({}, {}); }},
      {TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN,
       [](P& p) { p.GetHostPrincipalForDomain("example.com"); }},
      {TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP,
       [](P& p) { p.GetDomainTrustRelationship("example.com"); }},
      {TEST_OP_SET_SMART_CARD_ENABLED_SERVICES,
       [](P& p) { p.SetSmartCardEnabledServices({"sshd"}); }},
      {TEST_OP_GET_SMART_CARD_ENABLED_SERVICES,
       [](P& p) { p.GetSmartCardEnabledServices(); }},
  };
}

TEST_F(ProviderOperations, EveryNullSlotIsCallNotImplemented) {
  auto operations = EveryOperation();
  ASSERT_EQ(static_cast<size_t>(TEST_OP_COUNT), operations.size());
  for (auto& [operation, call] : operations) {
    plugin.Remove(operation);
    try {
      call(Provider());
      ADD_FAILURE() << "slot " << operation << " did not refuse";
    } catch (const qa::CallNotImplementedException& error) {
      EXPECT_EQ(120u, error.GetCode());
      EXPECT_STREQ(
          "Exception 0x00000078: This function is not supported on this "
          "system.",
          error.what());
    }
  }
  EXPECT_THAT(Sleeps(), IsEmpty());
}

TEST_F(ProviderOperations, Version2OperationsRefuseAVersion1Table) {
  plugin.SetTableVersion(1);
  EXPECT_THROW(Provider().JoinDomainWithMachineAccount({}, {}),
               qa::CallNotImplementedException);
  EXPECT_THROW(Provider().GetHostPrincipalForDomain("example.com"),
               qa::CallNotImplementedException);
  EXPECT_EQ(0, plugin.Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT));
  EXPECT_EQ(0, plugin.Calls(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN));
}

TEST_F(ProviderOperations, Version2OperationsRunOnAVersion2Table) {
  plugin.SetTexts(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN,
                  {"host/node1@EXAMPLE.COM"});
  EXPECT_EQ("host/node1@EXAMPLE.COM",
            Provider().GetHostPrincipalForDomain("example.com"));
  EXPECT_THAT(plugin.Arguments(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN),
              ElementsAre("example.com"));
  EXPECT_EQ(1, plugin.Releases());
}

TEST_F(ProviderOperations, FailureStatusesAreMappedWithoutCopyOrRelease) {
  for (auto& [operation, call] : EveryOperation()) {
    if (operation == TEST_OP_GET_DOMAIN_TRUST_STATE ||
        operation == TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP) {
      continue;  // these answer with a value, not a status
    }
    plugin.SetStatus(operation, ADCLIENT_STATUS_NO_SUCH_DOMAIN);
    try {
      call(Provider());
      ADD_FAILURE() << "slot " << operation << " did not fail";
    } catch (const qa::NoSuchDomainException& error) {
      EXPECT_EQ(1355u, error.GetCode());
    }
  }
  EXPECT_EQ(0, plugin.Releases());
}

TEST_F(ProviderOperations, UnknownStatusCarriesItsCode) {
  plugin.SetStatus(TEST_OP_PART_DOMAIN, 3);
  try {
    Provider().PartDomain();
    FAIL();
  } catch (const qa::UnknownException& error) {
    EXPECT_EQ(3u, error.GetCode());
    EXPECT_STREQ("Exception 0x00000003: Unknown exception", error.what());
  }
}

}  // namespace
