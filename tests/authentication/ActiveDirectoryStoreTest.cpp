// The "Active Directory" store: construction, activation and the operations
// that it forwards to the directory client plug-in.
#include <memory>
#include <string>
#include <sys/stat.h>
#include <syslog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::InstallPlugin;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::LogLine;
using quarryauth_test::PluginControl;
using quarryauth_test::PluginDirectory;
using quarryauth_test::ReadFile;
using quarryauth_test::WriteFile;
using quarryauth_test::WriteProviderConfiguration;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kAuthenticationConf[] =
    "/etc/quarry/quarryauth/authentication.conf";
const char kProviderConf[] = "/etc/quarry/quarryauth/provider.conf";

template <class Failure>
std::string ConstructionFailure() {
  try {
    qa::ActiveDirectoryStore store(60);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "(nothing thrown)";
}

// ---- construction ----

TEST(ActiveDirectoryStoreConstruction, EmptyProviderNameIsUnset) {
  WriteFile(kProviderConf, "provider = \"\"\n");
  EXPECT_EQ("The specified Active Directory provider '(unset)' is invalid",
            ConstructionFailure<qa::InvalidActiveDirectoryProviderException>());
}

TEST(ActiveDirectoryStoreConstruction, MissingProviderKeyIsUnset) {
  WriteFile(kProviderConf, "other = \"testad\"\n");
  EXPECT_EQ("The specified Active Directory provider '(unset)' is invalid",
            ConstructionFailure<qa::InvalidActiveDirectoryProviderException>());
}

TEST(ActiveDirectoryStoreConstruction, MissingProviderFileIsAnIOError) {
  EXPECT_EQ(
      "Unable to open '/etc/quarry/quarryauth/provider.conf': No such file or "
      "directory",
      ConstructionFailure<qa::IOError>());
}

TEST(ActiveDirectoryStoreConstruction, UnopenablePluginIsTheProvidersIOError) {
  WriteProviderConfiguration("missing");
  EXPECT_EQ(
      "Unable to open provider: /usr/libexec/quarryauth/libmissing.so: cannot "
      "open shared object file: No such file or directory",
      ConstructionFailure<qa::IOError>());
}

TEST(ActiveDirectoryStoreConstruction, InvalidPluginIsRefused) {
  WriteProviderConfiguration("testad");
  InstallPlugin("_metadata4", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(
      "The specified Active Directory provider 'testad' is invalid: The API "
      "version (4) is not supported by this version of libquarryauth",
      ConstructionFailure<qa::InvalidActiveDirectoryProviderException>());
}

TEST(ActiveDirectoryStoreConstruction, ProviderNameWithAPathIsRefused) {
  WriteProviderConfiguration("../testad");
  EXPECT_EQ(
      "The specified Active Directory provider '../testad' is invalid: The "
      "provider name must not contain '/' or be '.' or '..'",
      ConstructionFailure<qa::InvalidActiveDirectoryProviderException>());
}

TEST(ActiveDirectoryStoreConstruction, LoadsTheConfiguredPlugin) {
  const std::string path = InstallStandardPlugin();
  {
    qa::ActiveDirectoryStore store(60);
    EXPECT_TRUE(quarryauth_test::IsLoaded(path));
  }
  EXPECT_FALSE(quarryauth_test::IsLoaded(path));
}

// ---- activation ----

class ActiveDirectoryStoreTest : public ::testing::Test {
 protected:
  ActiveDirectoryStoreTest()
      : plugin(InstallStandardPlugin()), store(new qa::ActiveDirectoryStore(60)) {}

  PluginControl plugin;
  std::unique_ptr<qa::ActiveDirectoryStore> store;
  Credentials credentials = {"administrator", "secret"};
};

TEST_F(ActiveDirectoryStoreTest, IsNamedActiveDirectory) {
  EXPECT_EQ("Active Directory", store->GetDisplayName());
}

TEST_F(ActiveDirectoryStoreTest, MakeActiveRecordsItAndKeepsOtherKeys) {
  WriteFile(kAuthenticationConf,
            "zeta='1'\nremote-authentication-store = \"None\"\n");
  store->MakeActive();
  EXPECT_EQ(
      "remote-authentication-store = \"Active Directory\"\nzeta = \"1\"\n",
      ReadFile(kAuthenticationConf));
  EXPECT_TRUE(store->IsActive());
}

TEST_F(ActiveDirectoryStoreTest, MakeActiveWithoutAFileIsAnIOError) {
  EXPECT_THROW(store->MakeActive(), qa::IOError);
}

TEST_F(ActiveDirectoryStoreTest, MakeInactiveLeavesEveryFileUnchanged) {
  WriteFile(kAuthenticationConf,
            "remote-authentication-store = \"Active Directory\"\n");
  struct stat authenticationBefore, providerBefore;
  ASSERT_EQ(0, stat(kAuthenticationConf, &authenticationBefore));
  ASSERT_EQ(0, stat(kProviderConf, &providerBefore));
  const std::string providerText = ReadFile(kProviderConf);
  store->MakeInactive();
  struct stat authenticationAfter, providerAfter;
  ASSERT_EQ(0, stat(kAuthenticationConf, &authenticationAfter));
  ASSERT_EQ(0, stat(kProviderConf, &providerAfter));
  EXPECT_EQ(authenticationBefore.st_ino, authenticationAfter.st_ino);
  EXPECT_EQ(authenticationBefore.st_mtim.tv_nsec,
            authenticationAfter.st_mtim.tv_nsec);
  EXPECT_EQ(providerBefore.st_mtim.tv_nsec, providerAfter.st_mtim.tv_nsec);
  EXPECT_EQ("remote-authentication-store = \"Active Directory\"\n",
            ReadFile(kAuthenticationConf));
  EXPECT_EQ(providerText, ReadFile(kProviderConf));
  EXPECT_TRUE(store->IsActive());
}

// ---- forwarding operations ----

TEST_F(ActiveDirectoryStoreTest, PartDomainPassesTheCredentials) {
  store->PartDomain(credentials);
  EXPECT_EQ(&credentials, plugin.CredentialsPassed(TEST_OP_PART_DOMAIN));
}

TEST_F(ActiveDirectoryStoreTest, PartDomainFailuresPassThrough) {
  plugin.SetStatus(TEST_OP_PART_DOMAIN, ADCLIENT_STATUS_ACCESS_DENIED);
  EXPECT_THROW(store->PartDomain(credentials), qa::AccessDeniedException);
  plugin.Remove(TEST_OP_PART_DOMAIN);
  EXPECT_THROW(store->PartDomain(credentials),
               qa::CallNotImplementedException);
}

TEST_F(ActiveDirectoryStoreTest, SetsPreferredDomainControllers) {
  store->SetPreferredDomainControllers({"dc1", "dc2"});
  EXPECT_THAT(plugin.Arguments(TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS),
              ElementsAre("dc1", "dc2"));
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(ActiveDirectoryStoreTest, UnimplementedPreferredControllersAreLogged) {
  plugin.Remove(TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS);
  EXPECT_NO_THROW(store->SetPreferredDomainControllers({"dc1"}));
  EXPECT_EQ((std::vector<LogLine>{
                {LOG_WARNING,
                 "Setting of preferred domain controllers is not "
                 "implemented."}}),
            CapturedLog());
}

TEST_F(ActiveDirectoryStoreTest, PreferredControllerFailuresPassThrough) {
  plugin.SetStatus(TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS,
                   ADCLIENT_STATUS_ACCESS_DENIED);
  EXPECT_THROW(store->SetPreferredDomainControllers({"dc1"}),
               qa::AccessDeniedException);
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(ActiveDirectoryStoreTest, DomainControllerIsAskedWithoutAFirstText) {
  plugin.SetTexts(TEST_OP_GET_ANY_DOMAIN_CONTROLLER, {"dc1.example.com"});
  EXPECT_EQ("dc1.example.com", store->GetDomainControllerForDomain("example.com"));
  EXPECT_THAT(plugin.Arguments(TEST_OP_GET_ANY_DOMAIN_CONTROLLER),
              ElementsAre(std::nullopt, "example.com"));
}

TEST_F(ActiveDirectoryStoreTest, UnimplementedDomainControllerIsEmpty) {
  plugin.Remove(TEST_OP_GET_ANY_DOMAIN_CONTROLLER);
  EXPECT_EQ("", store->GetDomainControllerForDomain("example.com"));
}

TEST_F(ActiveDirectoryStoreTest, DomainControllerFailuresPassThrough) {
  plugin.SetStatus(TEST_OP_GET_ANY_DOMAIN_CONTROLLER,
                   ADCLIENT_STATUS_NO_SUCH_DOMAIN);
  EXPECT_THROW(store->GetDomainControllerForDomain("example.com"),
               qa::NoSuchDomainException);
}

TEST_F(ActiveDirectoryStoreTest, HostPrincipalIsForwarded) {
  plugin.SetTexts(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN, {"host/node1"});
  EXPECT_EQ("host/node1", store->GetHostPrincipalForDomain("example.com"));
}

TEST_F(ActiveDirectoryStoreTest, UnimplementedHostPrincipalIsEmpty) {
  plugin.Remove(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN);
  EXPECT_EQ("", store->GetHostPrincipalForDomain("example.com"));
}

TEST_F(ActiveDirectoryStoreTest, HostPrincipalOnAVersion1TableIsEmpty) {
  plugin.SetTexts(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN, {"host/node1"});
  plugin.SetTableVersion(1);
  EXPECT_EQ("", store->GetHostPrincipalForDomain("example.com"));
  EXPECT_EQ(0, plugin.Calls(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN));
}

TEST_F(ActiveDirectoryStoreTest, HostPrincipalFailuresPassThrough) {
  plugin.SetStatus(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN,
                   ADCLIENT_STATUS_ACCESS_DENIED);
  EXPECT_THROW(store->GetHostPrincipalForDomain("example.com"),
               qa::AccessDeniedException);
}

TEST_F(ActiveDirectoryStoreTest, TrustRelationshipIsForwarded) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP, 9);
  EXPECT_EQ(9u, store->GetDomainTrustRelationship("b.example.com"));
  EXPECT_THAT(plugin.Arguments(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP),
              ElementsAre("b.example.com"));
}

TEST_F(ActiveDirectoryStoreTest, UnimplementedTrustRelationshipIsZero) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP, 9);
  plugin.Remove(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP);
  EXPECT_EQ(0u, store->GetDomainTrustRelationship("b.example.com"));
}

TEST_F(ActiveDirectoryStoreTest, CanonicalUsernameIsForwarded) {
  plugin.SetTexts(TEST_OP_CONVERT_CANONICAL_USERNAME, {"EXAMPLE\\alice"});
  EXPECT_EQ("EXAMPLE\\alice", store->ConvertCanonicalUsername("alice"));
}

TEST_F(ActiveDirectoryStoreTest, UnimplementedConversionKeepsTheName) {
  plugin.Remove(TEST_OP_CONVERT_CANONICAL_USERNAME);
  EXPECT_EQ("alice@example.com",
            store->ConvertCanonicalUsername("alice@example.com"));
}

TEST_F(ActiveDirectoryStoreTest, ConversionFailuresPassThrough) {
  plugin.SetStatus(TEST_OP_CONVERT_CANONICAL_USERNAME, 1317);
  EXPECT_THROW(store->ConvertCanonicalUsername("alice"),
               qa::NoSuchUserException);
}

TEST_F(ActiveDirectoryStoreTest, SmartCardServicesAreForwarded) {
  store->SetSmartCardEnabledServices({"sshd", "login"});
  EXPECT_THAT(plugin.Arguments(TEST_OP_SET_SMART_CARD_ENABLED_SERVICES),
              ElementsAre("sshd", "login"));
  plugin.SetTexts(TEST_OP_GET_SMART_CARD_ENABLED_SERVICES, {"sshd"});
  EXPECT_THAT(store->GetSmartCardEnabledServices(), ElementsAre("sshd"));
}

TEST_F(ActiveDirectoryStoreTest, SmartCardFailuresPassThroughUnchanged) {
  plugin.Remove(TEST_OP_SET_SMART_CARD_ENABLED_SERVICES);
  plugin.Remove(TEST_OP_GET_SMART_CARD_ENABLED_SERVICES);
  EXPECT_THROW(store->SetSmartCardEnabledServices({"sshd"}),
               qa::CallNotImplementedException);
  EXPECT_THROW(store->GetSmartCardEnabledServices(),
               qa::CallNotImplementedException);
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

}  // namespace
