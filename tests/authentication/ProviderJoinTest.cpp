// Joining a domain through the directory provider, with its retries and
// log lines, and leaving it.
#include <optional>
#include <string>
#include <syslog.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/CountedSleeps.h"
#include "authentication/ProviderOperations.h"
#include "authentication/SyslogCapture.h"

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::LogLine;
using quarryauth_test::ProviderOperations;
using quarryauth_test::Sleeps;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// ---- joins ----

TEST_F(ProviderOperations, JoinPassesAnEmptyUnitAsNull) {
  Provider().JoinDomain("example.com", "", credentials);
  EXPECT_THAT(plugin.Arguments(TEST_OP_JOIN_DOMAIN),
              ElementsAre("example.com", std::nullopt));
  EXPECT_EQ(&credentials, plugin.CredentialsPassed(TEST_OP_JOIN_DOMAIN));
  EXPECT_EQ(1, plugin.Calls(TEST_OP_JOIN_DOMAIN));
  EXPECT_THAT(Sleeps(), IsEmpty());
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(ProviderOperations, JoinPassesTheUnitAndTheCallersCredentials) {
  Provider().JoinDomain("example.com", "OU=Hosts,DC=example", credentials);
  EXPECT_THAT(plugin.Arguments(TEST_OP_JOIN_DOMAIN),
              ElementsAre("example.com", "OU=Hosts,DC=example"));
  EXPECT_EQ(&credentials, plugin.CredentialsPassed(TEST_OP_JOIN_DOMAIN));
}

TEST_F(ProviderOperations, JoinTriesFourTimesOnLogonFailure) {
  plugin.SetStatus(TEST_OP_JOIN_DOMAIN, ADCLIENT_STATUS_LOGON_FAILURE);
  try {
    Provider().JoinDomain("example.com", "", credentials);
    FAIL();
  } catch (const qa::LogonFailureException& error) {
    EXPECT_EQ(1326u, error.GetCode());
  }
  EXPECT_EQ(4, plugin.Calls(TEST_OP_JOIN_DOMAIN));
  EXPECT_THAT(Sleeps(), ElementsAre(30u, 30u, 30u, 30u));
}

TEST_F(ProviderOperations, JoinTriesFourTimesOnThePrivateRetryStatus) {
  plugin.SetStatus(TEST_OP_JOIN_DOMAIN, ADCLIENT_STATUS_PRIVATE_RETRY);
  try {
    Provider().JoinDomain("example.com", "", credentials);
    FAIL();
  } catch (const qa::UnknownException& error) {
    EXPECT_EQ(0xFFFF0000u, error.GetCode());
  }
  EXPECT_EQ(4, plugin.Calls(TEST_OP_JOIN_DOMAIN));
  EXPECT_THAT(Sleeps(), ElementsAre(30u, 30u, 30u, 30u));
}

TEST_F(ProviderOperations, JoinSucceedsOnALaterAttempt) {
  plugin.SetStatuses(TEST_OP_JOIN_DOMAIN,
                     {ADCLIENT_STATUS_LOGON_FAILURE,
                      ADCLIENT_STATUS_PRIVATE_RETRY, ADCLIENT_STATUS_SUCCESS});
  Provider().JoinDomain("example.com", "", credentials);
  EXPECT_EQ(3, plugin.Calls(TEST_OP_JOIN_DOMAIN));
  EXPECT_THAT(Sleeps(), ElementsAre(30u, 30u));
}

TEST_F(ProviderOperations, JoinRaisesAnotherStatusAtOnce) {
  plugin.SetStatus(TEST_OP_JOIN_DOMAIN, 2691);
  EXPECT_THROW(Provider().JoinDomain("example.com", "", credentials),
               qa::SetupAlreadyJoinedException);
  EXPECT_EQ(1, plugin.Calls(TEST_OP_JOIN_DOMAIN));
  EXPECT_THAT(Sleeps(), IsEmpty());
}

TEST_F(ProviderOperations, JoinStopsRetryingAtAnotherStatus) {
  plugin.SetStatuses(TEST_OP_JOIN_DOMAIN,
                     {ADCLIENT_STATUS_LOGON_FAILURE, 1398});
  EXPECT_THROW(Provider().JoinDomain("example.com", "", credentials),
               qa::TimeSkewException);
  EXPECT_EQ(2, plugin.Calls(TEST_OP_JOIN_DOMAIN));
  EXPECT_THAT(Sleeps(), ElementsAre(30u));
}

CAM::DirectoryDomainInfo ProxyDomain() {
  return {"", "EXAMPLE", "example.com", "S-1-5-21-1"};
}

CAM::MachineAccountInfo ProxyAccount() {
  return {"node1", "example.com", "", "principal-2", "principal-3"};
}

std::vector<LogLine> AttemptLines(int attempts) {
  std::vector<LogLine> lines;
  for (int n = 1; n <= attempts; ++n) {
    lines.push_back({LOG_INFO, "Adding host to domain: Attempt (" +
                                   std::to_string(n) + "/4)"});
  }
  return lines;
}

TEST_F(ProviderOperations, MachineAccountJoinFlattensBothRecords) {
  Provider().JoinDomainWithMachineAccount(ProxyDomain(), ProxyAccount());
  EXPECT_THAT(plugin.Arguments(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT),
              ElementsAre("", "EXAMPLE", "example.com", "S-1-5-21-1", "node1",
                          "example.com", "", "principal-2", "principal-3"));
  EXPECT_EQ(AttemptLines(1), CapturedLog());
  EXPECT_THAT(Sleeps(), IsEmpty());
}

TEST_F(ProviderOperations, MachineAccountJoinLogsAndRetriesFourAttempts) {
  plugin.SetStatus(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT,
                   ADCLIENT_STATUS_LOGON_FAILURE);
  EXPECT_THROW(
      Provider().JoinDomainWithMachineAccount(ProxyDomain(), ProxyAccount()),
      qa::LogonFailureException);
  EXPECT_EQ(4, plugin.Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT));
  EXPECT_THAT(Sleeps(), ElementsAre(30u, 30u, 30u, 30u));
  EXPECT_EQ(AttemptLines(4), CapturedLog());
}

TEST_F(ProviderOperations, MachineAccountJoinRetriesThePrivateStatus) {
  plugin.SetStatuses(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT,
                     {ADCLIENT_STATUS_PRIVATE_RETRY, ADCLIENT_STATUS_SUCCESS});
  Provider().JoinDomainWithMachineAccount(ProxyDomain(), ProxyAccount());
  EXPECT_EQ(2, plugin.Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT));
  EXPECT_THAT(Sleeps(), ElementsAre(30u));
  EXPECT_EQ(AttemptLines(2), CapturedLog());
}

TEST_F(ProviderOperations, MachineAccountJoinRaisesAnotherStatusAtOnce) {
  plugin.SetStatus(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT, 1355);
  EXPECT_THROW(
      Provider().JoinDomainWithMachineAccount(ProxyDomain(), ProxyAccount()),
      qa::NoSuchDomainException);
  EXPECT_EQ(1, plugin.Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT));
  EXPECT_THAT(Sleeps(), IsEmpty());
  EXPECT_EQ(AttemptLines(1), CapturedLog());
}

// ---- leaving ----

TEST_F(ProviderOperations, PartDomainWithoutCredentialsPassesNull) {
  Provider().PartDomain();
  EXPECT_EQ(1, plugin.Calls(TEST_OP_PART_DOMAIN));
  EXPECT_EQ(nullptr, plugin.CredentialsPassed(TEST_OP_PART_DOMAIN));
}

TEST_F(ProviderOperations, PartDomainPassesTheCallersCredentials) {
  Provider().PartDomain(credentials);
  EXPECT_EQ(&credentials, plugin.CredentialsPassed(TEST_OP_PART_DOMAIN));
}

}  // namespace
