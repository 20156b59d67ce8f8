// Joining through the authentication proxy and finding the proxy's domain.
#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <syslog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/HostSetup.h"
#include "authentication/JoinSupport.h"
#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"
#include "authentication/plugins/TestCAMProxyControl.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::LogLine;
using quarryauth_test::PluginControl;
using quarryauth_test::WriteFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

const char kServer[] = "192.0.2.10";
const char kCamPlugin[] = "/usr/libexec/quarryauth/lib64/libtestcam.so";
const char kAdvanced[] = "/etc/quarry/advanced.conf";
const char kOptionInvalid[] = "The VerifyCAMCertificate option is invalid: ";

class ProxyJoin : public ::testing::Test {
 protected:
  void SetUp() override {
    adPath_ = quarryauth_test::InstallStandardPlugin();
    quarryauth_test::AddManagementInterface();
    quarryauth_test::SetHost("node1.ad.test", "node1.ad.test node1");
    InstallProxyPlugin();
    store_.reset(new qa::ActiveDirectoryStore(60));
    ad_.reset(new PluginControl(adPath_));
  }

  void InstallProxyPlugin() {
    quarryauth_test::WriteFile(
        "/etc/quarry/quarryauth/camprovider.conf", "provider = \"testcam\"\n");
    if (std::system("mkdir -p /usr/libexec/quarryauth/lib64 && cp '" TEST_CAM_PLUGIN
                    "' /usr/libexec/quarryauth/lib64/libtestcam.so") != 0) {
      throw std::runtime_error("cannot install the proxy plug-in");
    }
    // Held open so that the answers set here outlive the library's handle.
    camHandle_ = ::dlopen(kCamPlugin, RTLD_NOW | RTLD_GLOBAL);
    if (camHandle_ == nullptr) throw std::runtime_error(::dlerror());
    auto get = reinterpret_cast<TestCAMProxyGetControlFunction>(
        ::dlsym(camHandle_, "TestCAMProxyGetControl"));
    cam_ = get();
    cam_->netbiosName = "AD";
    cam_->dnsName = "ad.test";
    cam_->domainSid = "S-1-5-21-1-2-3";
    cam_->firstResult = "CN=NODE1,CN=Computers,DC=ad,DC=test";
    cam_->secondResult = "one-time-password";
  }

  void TearDown() override {
    if (camHandle_ != nullptr) ::dlclose(camHandle_);
  }

  static void SetOption(const std::string& value) {
    WriteFile(kAdvanced,
              "UserVars.ActiveDirectoryVerifyCAMCertificate = \"" + value +
                  "\"\n");
  }

  template <class Failure>
  std::string JoinFailure(const std::string& server, const std::string& ou,
                          bool skip) {
    try {
      store_->JoinDomainWithCAM(server, ou, skip);
    } catch (const Failure& error) {
      return error.what();
    }
    return "(nothing thrown)";
  }

  std::string adPath_;
  void* camHandle_ = nullptr;
  TestCAMProxyControl* cam_ = nullptr;
  std::unique_ptr<qa::ActiveDirectoryStore> store_;
  std::unique_ptr<PluginControl> ad_;
};

TEST_F(ProxyJoin, HostNameInsteadOfAddressIsRefusedBeforeAnythingElse) {
  WriteFile(kAdvanced, "broken line\n");
  EXPECT_EQ(JoinFailure<qa::InvalidIPAddressException>("proxy.ad.test", "",
                                                       false),
            "The IP Address is invalid: IPv4 address 'proxy.ad.test' cannot "
            "be parsed as an IP address");
  EXPECT_EQ(cam_->domainInfoCalls, 0);
  EXPECT_EQ(ad_->Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT), 0);
}

TEST_F(ProxyJoin, OptionZeroJoinsWithoutVerification) {
  SetOption("0");
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("AA:BB", "pem");
  store_->JoinDomainWithCAM(kServer, "", false);
  EXPECT_EQ(cam_->verifyCertificate, 0);
  EXPECT_STREQ(cam_->thumbprint, "");
  EXPECT_STREQ(cam_->server, kServer);
  EXPECT_EQ(quarryauth_test::StoredDomain(), std::string("ad.test||") + kServer);
}

TEST_F(ProxyJoin, OptionOneVerifiesAgainstTheStoredThumbprint) {
  SetOption("1");
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("AA:BB", "pem");
  store_->JoinDomainWithCAM(kServer, "", true);
  EXPECT_EQ(cam_->verifyCertificate, 1);
  EXPECT_STREQ(cam_->thumbprint, "AA:BB");
}

TEST_F(ProxyJoin, MissingOptionMeansVerify) {
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("CC:DD", "pem");
  store_->JoinDomainWithCAM(kServer, "", true);
  EXPECT_EQ(cam_->verifyCertificate, 1);
  EXPECT_STREQ(cam_->thumbprint, "CC:DD");
}

TEST_F(ProxyJoin, OptionOneWithoutStoredCertificateFails) {
  SetOption("1");
  EXPECT_EQ(JoinFailure<qa::InvalidThumbprintStoreException>(kServer, "",
                                                             true),
            "The specified thumbprint store 'auth_proxy_certificate' is "
            "invalid");
  EXPECT_THAT(CapturedLog(),
              ElementsAre(LogLine{LOG_ERR,
                                  "Unable to fetch thumbprint from Config "
                                  "Store: Failed to get the requested "
                                  "object"}));
  EXPECT_EQ(cam_->domainInfoCalls + cam_->machineAccountCalls, 0);
}

TEST_F(ProxyJoin, OptionTwoIsInvalid) {
  SetOption("2");
  EXPECT_EQ(JoinFailure<qa::InvalidVerifyCAMCertificateOptionException>(
                kServer, "", true),
            std::string(kOptionInvalid) +
                "Invalid value for UserVars.ActiveDirectoryVerifyCAMCertificate");
  EXPECT_EQ(cam_->domainInfoCalls, 0);
}

TEST_F(ProxyJoin, NegativeOptionIsInvalid) {
  SetOption("-1");
  EXPECT_EQ(JoinFailure<qa::InvalidVerifyCAMCertificateOptionException>(
                kServer, "", true),
            std::string(kOptionInvalid) +
                "Invalid value for UserVars.ActiveDirectoryVerifyCAMCertificate");
}

TEST_F(ProxyJoin, NonIntegerOptionCannotBeRead) {
  SetOption("yes");
  EXPECT_EQ(JoinFailure<qa::InvalidVerifyCAMCertificateOptionException>(
                kServer, "", true),
            std::string(kOptionInvalid) +
                "Unable to get advanced option "
                "UserVars.ActiveDirectoryVerifyCAMCertificate");
}

TEST_F(ProxyJoin, MalformedOptionsFileCannotBeRead) {
  WriteFile(kAdvanced, "no delimiter here\n");
  EXPECT_EQ(JoinFailure<qa::InvalidVerifyCAMCertificateOptionException>(
                kServer, "", true),
            std::string(kOptionInvalid) +
                "Unable to get advanced option "
                "UserVars.ActiveDirectoryVerifyCAMCertificate");
}

TEST_F(ProxyJoin, MissingProxyProviderFileIsNoneInstalled) {
  SetOption("0");
  ::unlink("/etc/quarry/quarryauth/camprovider.conf");
  EXPECT_EQ(JoinFailure<qa::InvalidCAMProxyProviderException>(kServer, "",
                                                               true),
            "The specified CAMProxy provider '(none installed)' is invalid");
}

TEST_F(ProxyJoin, EmptyProxyProviderIsUnset) {
  SetOption("0");
  WriteFile("/etc/quarry/quarryauth/camprovider.conf", "provider = \"\"\n");
  EXPECT_EQ(JoinFailure<qa::InvalidCAMProxyProviderException>(kServer, "",
                                                               true),
            "The specified CAMProxy provider '(unset)' is invalid");
}

TEST_F(ProxyJoin, UnloadableProxyProviderIsInvalid) {
  SetOption("0");
  WriteFile("/etc/quarry/quarryauth/camprovider.conf",
            "provider = \"absent\"\n");
  EXPECT_EQ(JoinFailure<qa::InvalidCAMProxyProviderException>(kServer, "",
                                                               true),
            "The specified CAMProxy provider 'absent' is invalid");
}

TEST_F(ProxyJoin, ProxyProviderNameWithAPathIsInvalid) {
  SetOption("0");
  // It would name the installed proxy plug-in by a path.
  WriteFile("/etc/quarry/quarryauth/camprovider.conf",
            "provider = \"64/../lib64/libtestcam\"\n");
  EXPECT_EQ(JoinFailure<qa::InvalidCAMProxyProviderException>(kServer, "",
                                                               true),
            "The specified CAMProxy provider '64/../lib64/libtestcam' is "
            "invalid");
  EXPECT_EQ(ad_->Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT), 0);
}

TEST_F(ProxyJoin, RecordsReachTheDirectoryPluginFieldByField) {
  SetOption("0");
  store_->JoinDomainWithCAM(kServer, "", true);
  EXPECT_STREQ(cam_->account, "node1.ad.test");
  EXPECT_EQ(cam_->containerWasNull, 1);
  EXPECT_THAT(ad_->Arguments(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT),
              ElementsAre(Optional(std::string("")), Optional(std::string("AD")),
                          Optional(std::string("ad.test")),
                          Optional(std::string("S-1-5-21-1-2-3")),
                          Optional(std::string("node1")),
                          Optional(std::string("ad.test")),
                          Optional(std::string("")),
                          Optional(std::string(
                              "CN=NODE1,CN=Computers,DC=ad,DC=test")),
                          Optional(std::string("one-time-password"))));
  // Three round trips for the records, none for the skipped host check.
  EXPECT_EQ(cam_->domainInfoCalls, 3);
  EXPECT_EQ(cam_->machineAccountCalls, 1);
}

TEST_F(ProxyJoin, EmptyOrganizationalUnitStoresNone) {
  SetOption("0");
  qa::ActiveDirectoryConfigStore().StoreDomainInfo("ad.test", "OU=Old", "");
  store_->JoinDomainWithCAM(kServer, "", true);
  EXPECT_EQ(quarryauth_test::StoredDomain(), std::string("ad.test||") + kServer);
}

TEST_F(ProxyJoin, OrganizationalUnitIsTheContainerAndIsStored) {
  SetOption("0");
  store_->JoinDomainWithCAM(kServer, "OU=Hosts,DC=ad,DC=test", true);
  EXPECT_EQ(cam_->containerWasNull, 0);
  EXPECT_STREQ(cam_->container, "OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(quarryauth_test::StoredDomain(),
            std::string("ad.test|OU=Hosts,DC=ad,DC=test|") + kServer);
}

TEST_F(ProxyJoin, HostChecksUseTheProxysDomain) {
  SetOption("0");
  cam_->dnsName = "other.test";
  store_->JoinDomainWithCAM(kServer, "", false);
  EXPECT_EQ(cam_->domainInfoCalls, 4);
  EXPECT_THAT(CapturedLog(),
              ElementsAre(LogLine{LOG_WARNING,
                                  "The fully qualified hostname node1.ad.test "
                                  "does not match the expected value "
                                  "node1.other.test\n"},
                          LogLine{LOG_INFO,
                                  "Adding host to domain: Attempt (1/4)"}));
}

TEST_F(ProxyJoin, HostCheckRefusalStopsBeforeTheMachineAccount) {
  SetOption("0");
  quarryauth_test::SetHost("localhost.ad.test", "localhost.ad.test localhost");
  EXPECT_EQ(JoinFailure<qa::InvalidHostNameException>(kServer, "", false),
            "The current hostname is invalid: hostname is in blacklist");
  EXPECT_EQ(cam_->machineAccountCalls, 0);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(ProxyJoin, UnresolvableHostIsRefused) {
  SetOption("0");
  quarryauth_test::SetHost("ghost", "");
  EXPECT_EQ(JoinFailure<qa::InvalidHostNameException>(kServer, "", true),
            "The current hostname is invalid: Host name lookup failure");
  EXPECT_EQ(cam_->domainInfoCalls, 0);
}

TEST_F(ProxyJoin, ProxyFailureStopsTheJoin) {
  SetOption("1");
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("AA:BB", "pem");
  cam_->machineAccountResult = 0x80090325u;
  EXPECT_EQ(JoinFailure<qa::InvalidCAMCertificateException>(kServer, "", true),
            "The CAM server's certificate cannot be verified.");
  EXPECT_EQ(ad_->Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT), 0);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
}

TEST_F(ProxyJoin, DirectoryJoinFailureStoresNothing) {
  SetOption("0");
  ad_->SetStatus(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT, 2691);
  EXPECT_THROW(store_->JoinDomainWithCAM(kServer, "", true),
               qa::SetupAlreadyJoinedException);
  EXPECT_EQ(quarryauth_test::StoredDomain(), "(none)");
  EXPECT_EQ(quarryauth_test::SleepCalls(), 0);
}

TEST_F(ProxyJoin, StoreFailureAfterTheJoinUndoesIt) {
  SetOption("0");
  quarryauth_test::BreakConfigurationStore();
  std::string message;
  try {
    store_->JoinDomainWithCAM(kServer, "", true);
    FAIL();
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    message = error.what();
  }
  EXPECT_EQ(ad_->Calls(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT), 1);
  EXPECT_EQ(ad_->Calls(TEST_OP_PART_DOMAIN), 1);
  EXPECT_EQ(ad_->CredentialsPassed(TEST_OP_PART_DOMAIN), nullptr);
  EXPECT_THAT(CapturedLog(),
              ElementsAre(LogLine{LOG_INFO,
                                  "Adding host to domain: Attempt (1/4)"},
                          LogLine{LOG_ERR,
                                  "Failed to store domain details to Config "
                                  "Store: " + message + ".Leaving Domain..."}));
}

TEST_F(ProxyJoin, ProxyPluginIsUnloadedAfterTheJoin) {
  SetOption("0");
  ::dlclose(camHandle_);
  camHandle_ = nullptr;
  cam_ = nullptr;
  EXPECT_THROW(store_->JoinDomainWithCAM(kServer, "", true), std::logic_error);
  EXPECT_FALSE(quarryauth_test::IsLoaded(kCamPlugin));
}

TEST_F(ProxyJoin, DomainForProxyServiceAsksWithoutVerification) {
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("AA:BB", "pem");
  EXPECT_EQ(store_->GetDomainForCAMService(kServer), "ad.test");
  EXPECT_EQ(cam_->verifyCertificate, 0);
  EXPECT_STREQ(cam_->thumbprint, "");
  EXPECT_EQ(cam_->domainInfoCalls, 1);
}

TEST_F(ProxyJoin, DomainForProxyServiceChecksTheAddressAndProvider) {
  try {
    store_->GetDomainForCAMService("not-an-address");
    FAIL();
  } catch (const qa::InvalidIPAddressException& error) {
    EXPECT_STREQ(error.what(),
                 "The IP Address is invalid: IPv4 address 'not-an-address' "
                 "cannot be parsed as an IP address");
  }
  ::unlink("/etc/quarry/quarryauth/camprovider.conf");
  EXPECT_THROW(store_->GetDomainForCAMService(kServer),
               qa::InvalidCAMProxyProviderException);
}

}  // namespace
