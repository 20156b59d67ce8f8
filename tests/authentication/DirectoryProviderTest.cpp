// Loading the directory client plug-in and calling its operations.
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::InstallPlugin;
using quarryauth_test::InstalledPluginPath;
using quarryauth_test::IsLoaded;
using quarryauth_test::LogLine;
using quarryauth_test::PluginControl;
using quarryauth_test::PluginDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Arguments = std::vector<std::optional<std::string>>;

// The joins sleep between attempts; this program answers for libc's sleep
// so that retries are counted, not waited for.
namespace {
std::mutex sleepLock;
std::vector<unsigned int> sleeps;

std::vector<unsigned int> Sleeps() {
  std::lock_guard<std::mutex> lock(sleepLock);
  return sleeps;
}
}  // namespace

extern "C" __attribute__((visibility("default"))) unsigned int sleep(
    unsigned int seconds) {
  std::lock_guard<std::mutex> lock(sleepLock);
  sleeps.push_back(seconds);
  return 0;
}

namespace {

const std::string kLib64Path =
    InstalledPluginPath("testad", PluginDirectory::Lib64);
const std::string kBasePath =
    InstalledPluginPath("testad", PluginDirectory::Base);

std::string InvalidProviderMessage(const std::string& name,
                                   const std::string& reason) {
  return "The specified Active Directory provider '" + name +
         "' is invalid: " + reason;
}

template <class Failure>
std::string MessageOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "(nothing thrown)";
}

// ---- loading ----

TEST(ProviderLoading, LoadsFromTheLib64Directory) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_TRUE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, FallsBackToThePluginDirectory) {
  InstallPlugin("", "testad", PluginDirectory::Base);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_TRUE(IsLoaded(kBasePath));
}

TEST(ProviderLoading, PrefersTheLib64DirectoryWhenBothHoldThePlugin) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  InstallPlugin("", "testad", PluginDirectory::Base);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_TRUE(IsLoaded(kLib64Path));
  EXPECT_FALSE(IsLoaded(kBasePath));
}

TEST(ProviderLoading, ClosesThePluginWhenDestroyed) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  { qa::ActiveDirectoryProvider provider("testad"); }
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, MissingPluginIsAnIOErrorWithTheLoaderText) {
  try {
    qa::ActiveDirectoryProvider provider("testad");
    FAIL() << "loaded a plug-in that does not exist";
  } catch (const qa::IOError& error) {
    EXPECT_STREQ(
        "Unable to open provider: /usr/libexec/quarryauth/libtestad.so: "
        "cannot open shared object file: No such file or directory",
        error.what());
    EXPECT_EQ(0u, error.GetCode());
  }
}

TEST(ProviderLoading, MetadataVersion3IsAccepted) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(3, "pam_testad.so", nullptr, "testad", nullptr);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("testad"));
}

TEST(ProviderLoading, MetadataVersion4IsRefusedAndThePluginClosed) {
  InstallPlugin("_metadata4", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(InvalidProviderMessage(
                "testad",
                "The API version (4) is not supported by this version of "
                "libquarryauth"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [] { qa::ActiveDirectoryProvider provider("testad"); }));
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, MetadataVersion0IsAccepted) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(0, "pam_testad.so", nullptr, "testad", nullptr);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("testad"));
}

TEST(ProviderLoading, NegativeMetadataVersionIsAccepted) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(-1, "pam_testad.so", nullptr, "testad", nullptr);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("testad"));
}

TEST(ProviderLoading, MissingMetadataSymbolIsRefusedAndThePluginClosed) {
  InstallPlugin("_nometadata", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(InvalidProviderMessage(
                "testad", kLib64Path +
                              ": undefined symbol: "
                              "ActiveDirectoryClientMetadata"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [] { qa::ActiveDirectoryProvider provider("testad"); }));
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, MissingOperationsSymbolIsRefusedAndThePluginClosed) {
  InstallPlugin("_nooperations", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(InvalidProviderMessage(
                "testad", kLib64Path +
                              ": undefined symbol: "
                              "ActiveDirectoryClientOperations"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [] { qa::ActiveDirectoryProvider provider("testad"); }));
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, CopiesTheModuleNamesAndParameters) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_EQ("pam_testad.so", provider.PAMModule());
  EXPECT_THAT(provider.PAMModuleParameters(), ElementsAre("try_first_pass"));
  EXPECT_EQ("testad", provider.NSSModule());
  EXPECT_THAT(provider.NSSModuleParameters(), IsEmpty());
}

TEST(ProviderLoading, NullParameterTextsGiveEmptyLists) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(3, "pam_x.so", nullptr, "x", nullptr);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_THAT(provider.PAMModuleParameters(), IsEmpty());
  EXPECT_THAT(provider.NSSModuleParameters(), IsEmpty());
}

TEST(ProviderLoading, ParameterTextsAreSplitIntoWords) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(3, "pam_x.so", "one  two\tthree", "x",
                     "\n use_first_pass \"quoted word\" ");
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_THAT(provider.PAMModuleParameters(),
              ElementsAre("one", "two", "three"));
  EXPECT_THAT(provider.NSSModuleParameters(),
              ElementsAre("use_first_pass", "\"quoted", "word\""));
}

TEST(ProviderLoading, MetadataTextsAreNeverReleased) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  { qa::ActiveDirectoryProvider provider("testad"); }
  EXPECT_EQ(0, plugin.Releases());
}

TEST(ProviderLoading, ApiVersionComesFromTheOperationsTable) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetTableVersion(7);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_EQ(7, provider.GetAPIVersion());
}

TEST(ProviderLoading, TableVersion1StillLoads) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetTableVersion(1);
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=node1"});
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_EQ(1, provider.GetAPIVersion());
  EXPECT_EQ("CN=node1", provider.GetMachineAccountDN());
}

// ---- provider names that would lead out of the plug-in directory ----

void ExpectNameRefusedBeforeLoading(const std::string& name) {
  EXPECT_EQ(InvalidProviderMessage(
                name,
                "The provider name must not contain '/' or be '.' or '..'"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [&] { qa::ActiveDirectoryProvider provider(name); }));
}

TEST(ProviderName, PathOutsideThePluginDirectoryIsRefused) {
  // Without the check, this name would load /etc/quarry/evil.so.
  mkdir("/usr/libexec/quarryauth", 0755);
  mkdir("/usr/libexec/quarryauth/lib64", 0755);
  mkdir("/usr/libexec/quarryauth/lib64/libx", 0755);
  quarryauth_test::WriteFile(
      "/etc/quarry/evil.so",
      quarryauth_test::ReadFile(std::string(QUARRYAUTH_TEST_ADCLIENT_DIR) +
                                "/libtestad.so"));
  ExpectNameRefusedBeforeLoading("x/../../../../../etc/quarry/evil");
  EXPECT_FALSE(IsLoaded("/etc/quarry/evil.so"));
}

TEST(ProviderName, SingleDotIsRefused) {
  InstallPlugin("", ".", PluginDirectory::Lib64);
  ExpectNameRefusedBeforeLoading(".");
  EXPECT_FALSE(IsLoaded(InstalledPluginPath(".", PluginDirectory::Lib64)));
}

TEST(ProviderName, DoubleDotIsRefused) {
  InstallPlugin("", "..", PluginDirectory::Lib64);
  ExpectNameRefusedBeforeLoading("..");
  EXPECT_FALSE(IsLoaded(InstalledPluginPath("..", PluginDirectory::Lib64)));
}

TEST(ProviderName, EmbeddedNulIsRefused) {
  // Without the check, the path would end at the NUL and load "libtestad".
  const std::string cut = "/usr/libexec/quarryauth/lib64/libtestad";
  quarryauth_test::WriteFile(
      cut, quarryauth_test::ReadFile(InstallPlugin("", "testad",
                                                   PluginDirectory::Lib64)));
  try {
    qa::ActiveDirectoryProvider provider(std::string("testad\0x", 8));
    FAIL() << "loaded " << cut;
  } catch (const qa::InvalidActiveDirectoryProviderException& error) {
    // what() ends where the name's NUL is.
    EXPECT_STREQ("The specified Active Directory provider 'testad",
                 error.what());
  }
  EXPECT_FALSE(IsLoaded(cut));
}

TEST(ProviderName, DotsInsideANameAreAllowed) {
  InstallPlugin("", "test.ad..v2", PluginDirectory::Lib64);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("test.ad..v2"));
}

// ---- operations ----

class ProviderOperations : public ::testing::Test {
 protected:
  ProviderOperations()
      : plugin(InstallPlugin("", "testad", PluginDirectory::Lib64)) {}

  qa::ActiveDirectoryProvider& Provider() {
    if (!provider) provider.reset(new qa::ActiveDirectoryProvider("testad"));
    return *provider;
  }

  void TearDown() override {
    provider.reset();
    EXPECT_EQ(0, plugin.LiveAllocations()) << "plug-in data not released";
    EXPECT_EQ(0, plugin.SentinelReleases()) << "released after a failure";
  }

  PluginControl plugin;
  std::unique_ptr<qa::ActiveDirectoryProvider> provider;
  Credentials credentials = {"administrator", "secret"};
};

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

// ---- queries and their releases ----

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

// ---- Domain ----

std::string Printed(const qa::Domain& domain) {
  std::ostringstream out;
  out << domain;
  return out.str();
}

TEST(DomainRecord, PrintsBothNames) {
  EXPECT_EQ("DNS Name: example.com, NetBIOS Name: EXAMPLE",
            Printed(qa::Domain("example.com", "EXAMPLE")));
}

TEST(DomainRecord, PrintsAnEmptyNameAsUnset) {
  EXPECT_EQ("DNS Name: example.com, NetBIOS Name: (unset)",
            Printed(qa::Domain("example.com", "")));
  EXPECT_EQ("DNS Name: (unset), NetBIOS Name: (unset)",
            Printed(qa::Domain()));
}

TEST(DomainRecord, ComparesBothNames) {
  qa::Domain domain("example.com", "EXAMPLE");
  qa::Domain copy(domain);
  EXPECT_EQ(domain, copy);
  EXPECT_EQ("example.com", copy.dnsName);
  EXPECT_EQ("EXAMPLE", copy.netbiosName);
  EXPECT_FALSE(domain == qa::Domain("example.com", "OTHER"));
  EXPECT_FALSE(domain == qa::Domain("example.org", "EXAMPLE"));
}

}  // namespace
