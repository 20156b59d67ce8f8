// The host-name checks that run before a join, against the real resolver,
// /etc/hosts, /etc/resolv.conf and a management interface of the sandbox.
#include <unistd.h>

#include <string>
#include <syslog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/HostSetup.h"
#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::LogLine;
using quarryauth_test::ReadFile;
using quarryauth_test::WriteFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostnameCheck : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallStandardPlugin();
    quarryauth_test::AddManagementInterface();
  }

  std::string Refusal(const std::string& domain) {
    qa::ActiveDirectoryStore store(60);
    try {
      store.SanitiseHostnameForDomain(domain);
    } catch (const qa::InvalidHostNameException& error) {
      EXPECT_EQ(error.GetCode(), 0u);
      return error.what();
    }
    return "(nothing thrown)";
  }

  void Check(const std::string& domain) {
    qa::ActiveDirectoryStore store(60);
    store.SanitiseHostnameForDomain(domain);
  }
};

const char kPrefix[] = "The current hostname is invalid: ";

TEST_F(HostnameCheck, MatchingNamePassesSilentlyAndFixesTheHostsFile) {
  quarryauth_test::SetHost("node1.ad.test", "node1.ad.test node1");
  const std::string resolvBefore = ReadFile("/etc/resolv.conf");
  Check("ad.test");
  EXPECT_THAT(CapturedLog(), IsEmpty());
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.ad.test node1");
  EXPECT_EQ(ReadFile("/etc/resolv.conf"), resolvBefore);
}

TEST_F(HostnameCheck, DomainInOtherCasePassesWithoutWarning) {
  quarryauth_test::SetHost("node1.ad.test", "node1.ad.test node1");
  Check("AD.TEST");
  EXPECT_THAT(CapturedLog(), IsEmpty());
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.ad.test node1");
}

TEST_F(HostnameCheck, ShortNameMustMatchTheCanonicalNameExactly) {
  quarryauth_test::SetHost("node1", "NODE1.ad.test node1");
  const std::string hostsBefore = ReadFile("/etc/hosts");
  EXPECT_EQ(Refusal("ad.test"),
            std::string(kPrefix) + "shortname does not match FQDN");
  EXPECT_EQ(ReadFile("/etc/hosts"), hostsBefore);
}

TEST_F(HostnameCheck, BareCanonicalNameBecomesTheExpectedName) {
  quarryauth_test::SetHost("node1", "node1");
  Check("ad.test");
  EXPECT_THAT(CapturedLog(), IsEmpty());
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.ad.test node1");
}

TEST_F(HostnameCheck, OtherDomainWarnsAndAddsAResolvableSearchDomain) {
  quarryauth_test::SetHost("node1.other.test", "node1.other.test node1",
                           "192.0.2.1\tad.test\n");
  Check("ad.test");
  EXPECT_THAT(
      CapturedLog(),
      ElementsAre(LogLine{LOG_WARNING,
                          "The fully qualified hostname node1.other.test does "
                          "not match the expected value node1.ad.test\n"}));
  EXPECT_THAT(ReadFile("/etc/resolv.conf"),
              ::testing::HasSubstr("search ad.test\n"));
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.other.test node1");
}

TEST_F(HostnameCheck, OtherDomainThatDoesNotResolveOnlyWarns) {
  quarryauth_test::SetHost("node1.other.test", "node1.other.test node1");
  const std::string resolvBefore = ReadFile("/etc/resolv.conf");
  Check("ad.test");
  EXPECT_EQ(CapturedLog().size(), 1u);
  EXPECT_EQ(ReadFile("/etc/resolv.conf"), resolvBefore);
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "node1.other.test node1");
}

TEST_F(HostnameCheck, BlacklistIsCheckedAfterTheSearchDomainStep) {
  quarryauth_test::SetHost("localhost.other.test",
                           "localhost.other.test localhost",
                           "192.0.2.1\tad.test\n");
  const std::string hostsBefore = ReadFile("/etc/hosts");
  EXPECT_EQ(Refusal("ad.test"),
            std::string(kPrefix) + "hostname is in blacklist");
  EXPECT_THAT(ReadFile("/etc/resolv.conf"),
              ::testing::HasSubstr("search ad.test\n"));
  EXPECT_EQ(ReadFile("/etc/hosts"), hostsBefore);
}

TEST_F(HostnameCheck, EveryBlacklistedNameIsRefused) {
  for (const std::string name : {"localhost", "linux", "hostname"}) {
    SCOPED_TRACE(name);
    quarryauth_test::SetHost(name + ".ad.test", name + ".ad.test " + name);
    EXPECT_EQ(Refusal("ad.test"),
              std::string(kPrefix) + "hostname is in blacklist");
  }
}

TEST_F(HostnameCheck, BlacklistIsCaseSensitive) {
  quarryauth_test::SetHost("Linux.ad.test", "Linux.ad.test Linux");
  Check("ad.test");
  EXPECT_EQ(quarryauth_test::HostsEntry(quarryauth_test::kManagementAddress),
            "Linux.ad.test Linux");
}

TEST_F(HostnameCheck, UnresolvableHostGivesTheResolverText) {
  quarryauth_test::SetHost("ghost", "");
  EXPECT_EQ(Refusal("ad.test"),
            std::string(kPrefix) + "Host name lookup failure");
}

TEST_F(HostnameCheck, HostFoundNowhereCannotBeResolved) {
  quarryauth_test::SetHost("ghost", "");
  quarryauth_test::ResolveFromFilesOnly();
  EXPECT_EQ(Refusal("ad.test"),
            std::string(kPrefix) + "hostname cannot be resolved");
}

TEST_F(HostnameCheck, HostNameThatDoesNotFitIsUnreadable) {
  const std::string name(64, 'a');
  quarryauth_test::SetHost(name, "");
  EXPECT_EQ(Refusal("ad.test"),
            std::string(kPrefix) + "unable to get hostname");
}

TEST_F(HostnameCheck, PlatformFailurePassesThroughAndKeepsEarlierChanges) {
  quarryauth_test::SetHost("node1.other.test", "node1.other.test node1",
                           "192.0.2.1\tad.test\n");
  WriteFile("/etc/quarry/network.conf", "management-interface = \"nosuch0\"\n");
  qa::ActiveDirectoryStore store(60);
  EXPECT_THROW(store.SanitiseHostnameForDomain("ad.test"),
               HostCtl::Lib::HostCtlException);
  EXPECT_THAT(ReadFile("/etc/resolv.conf"),
              ::testing::HasSubstr("search ad.test\n"));
}

TEST_F(HostnameCheck, MalformedNetworkConfigurationFailsBeforeAnyCheck) {
  quarryauth_test::SetHost("node1.other.test", "node1.other.test node1",
                           "192.0.2.1\tad.test\n");
  const std::string resolvBefore = ReadFile("/etc/resolv.conf");
  WriteFile("/etc/quarry/network.conf", "no delimiter\n");
  qa::ActiveDirectoryStore store(60);
  EXPECT_THROW(store.SanitiseHostnameForDomain("ad.test"),
               HostCtl::Lib::HostCtlException);
  EXPECT_THAT(CapturedLog(), IsEmpty());
  EXPECT_EQ(ReadFile("/etc/resolv.conf"), resolvBefore);
}

}  // namespace
