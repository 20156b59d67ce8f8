#include "authentication/plugins/TestCAMProxyControl.h"
#include "support/Plugins.h"

#include <quarryauth/authentication.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace qa = quarry::authentication;
using quarry_test::InstallPlugin;

namespace {

class CAMProxyTest : public ::testing::Test {
 protected:
  // Installs the complete plug-in as "testcam" and loads it.
  std::unique_ptr<qa::CAMProxy> Load(bool verify = true,
                                     const std::string& thumbprint = "AB:CD") {
    path_ = InstallPlugin(TEST_CAM_PLUGIN, "testcam", true);
    std::unique_ptr<qa::CAMProxy> proxy(
        new qa::CAMProxy("testcam", "192.0.2.10", verify, thumbprint));
    control_ = Control(path_);
    control_->netbiosName = "AD";
    control_->dnsName = "ad.test";
    control_->domainSid = "S-1-5-21-1-2-3";
    control_->firstResult = "CN=NODE1,OU=Hosts,DC=ad,DC=test";
    control_->secondResult = "one-time-password";
    return proxy;
  }

  static TestCAMProxyControl* Control(const std::string& path) {
    auto get = reinterpret_cast<TestCAMProxyGetControlFunction>(
        quarry_test::LoadedPluginSymbol(path, "TestCAMProxyGetControl"));
    return get();
  }

  std::string path_;
  TestCAMProxyControl* control_ = nullptr;
};

TEST_F(CAMProxyTest, LoadsFromTheFallbackDirectory) {
  const std::string path = InstallPlugin(TEST_CAM_PLUGIN, "testcam", false);
  qa::CAMProxy proxy("testcam", "192.0.2.10", false, "");
  EXPECT_STREQ(Control(path)->variant, "complete");
}

TEST_F(CAMProxyTest, PrefersTheLib64Directory) {
  InstallPlugin(TEST_CAM_NOTABLE_PLUGIN, "testcam", false);
  const std::string path = InstallPlugin(TEST_CAM_PLUGIN, "testcam", true);
  qa::CAMProxy proxy("testcam", "192.0.2.10", false, "");
  EXPECT_STREQ(Control(path)->variant, "complete");
}

TEST_F(CAMProxyTest, MissingPluginIsIOErrorWithTheSecondLoaderText) {
  try {
    qa::CAMProxy proxy("absent", "192.0.2.10", false, "");
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_STREQ(error.what(),
                 "Unable to open CAM provider: "
                 "/usr/libexec/quarryauth/libabsent.so: cannot open shared "
                 "object file: No such file or directory");
  }
}

// A name from camprovider.conf must not reach a file outside the plug-in
// directory, even one that is a working plug-in.
TEST_F(CAMProxyTest, NameWithAPathIsRefusedBeforeLoading) {
  InstallPlugin(TEST_CAM_PLUGIN, "testcam", true);
  for (const std::string name :
       {"64/../lib64/libtestcam", "../lib64/libtestcam",
        "/usr/libexec/quarryauth/lib64/libtestcam", ".", ".."}) {
    try {
      qa::CAMProxy proxy(name, "192.0.2.10", false, "");
      ADD_FAILURE() << name << " was loaded";
    } catch (const qa::IOError& error) {
      EXPECT_STREQ(error.what(),
                   "Unable to open CAM provider: The provider name must not "
                   "contain '/' or be '.' or '..'")
          << name;
    }
  }
}

TEST_F(CAMProxyTest, MissingTableIsInvalidWithTheLoaderText) {
  const std::string path =
      InstallPlugin(TEST_CAM_NOTABLE_PLUGIN, "notable", true);
  try {
    qa::CAMProxy proxy("notable", "192.0.2.10", false, "");
    FAIL();
  } catch (const qa::InvalidCAMProxyProviderException& error) {
    EXPECT_EQ(std::string(error.what()),
              "The specified CAMProxy provider 'notable' is invalid: " + path +
                  ": undefined symbol: CAMProxyClientOperations");
  }
  EXPECT_FALSE(quarry_test::IsLoaded(path));
}

TEST_F(CAMProxyTest, NullReleaseEntryIsRefusedAndTheLibraryClosed) {
  const std::string path =
      InstallPlugin(TEST_CAM_NORELEASE_PLUGIN, "norelease", true);
  try {
    qa::CAMProxy proxy("norelease", "192.0.2.10", false, "");
    FAIL();
  } catch (const qa::InvalidCAMProxyProviderException& error) {
    EXPECT_STREQ(error.what(),
                 "The specified CAMProxy provider 'norelease' is invalid: ");
  }
  EXPECT_FALSE(quarry_test::IsLoaded(path));
}

TEST_F(CAMProxyTest, DestructionUnloadsThePlugin) {
  {
    std::unique_ptr<qa::CAMProxy> proxy = Load();
    EXPECT_TRUE(quarry_test::IsLoaded(path_));
  }
  EXPECT_FALSE(quarry_test::IsLoaded(path_));
}

TEST_F(CAMProxyTest, DomainInfoIsCopiedAndEveryStringReleasedInOrder) {
  std::unique_ptr<qa::CAMProxy> proxy = Load(true, "AB:CD");
  std::string netbios = "old", dns = "old", sid = "old";
  proxy->GetDomainInfo(netbios, dns, sid);
  EXPECT_EQ(netbios, "AD");
  EXPECT_EQ(dns, "ad.test");
  EXPECT_EQ(sid, "S-1-5-21-1-2-3");
  EXPECT_EQ(control_->domainInfoCalls, 1);
  EXPECT_STREQ(control_->server, "192.0.2.10");
  EXPECT_EQ(control_->verifyCertificate, 1);
  EXPECT_STREQ(control_->thumbprint, "AB:CD");
  ASSERT_EQ(control_->releaseCalls, 3);
  EXPECT_STREQ(control_->released[0], "AD");
  EXPECT_STREQ(control_->released[1], "ad.test");
  EXPECT_STREQ(control_->released[2], "S-1-5-21-1-2-3");
}

TEST_F(CAMProxyTest, VerificationOffPassesZeroAndTheGivenThumbprint) {
  std::unique_ptr<qa::CAMProxy> proxy = Load(false, "");
  proxy->GetDNSDomainName();
  EXPECT_EQ(control_->verifyCertificate, 0);
  EXPECT_STREQ(control_->thumbprint, "");
}

TEST_F(CAMProxyTest, EachGetterMakesOneRoundTrip) {
  std::unique_ptr<qa::CAMProxy> proxy = Load();
  EXPECT_EQ(proxy->GetNetBIOSDomainName(), "AD");
  EXPECT_EQ(proxy->GetDNSDomainName(), "ad.test");
  EXPECT_EQ(proxy->GetDomainSID(), "S-1-5-21-1-2-3");
  EXPECT_EQ(control_->domainInfoCalls, 3);
  EXPECT_EQ(control_->releaseCalls, 9);
}

TEST_F(CAMProxyTest, DomainControllerAndContainerNeverCallThePlugin) {
  std::unique_ptr<qa::CAMProxy> proxy = Load();
  EXPECT_EQ(proxy->GetDomainController(), "");
  EXPECT_EQ(proxy->GetDefaultComputerContainer(), "");
  EXPECT_EQ(control_->domainInfoCalls, 0);
  EXPECT_EQ(control_->machineAccountCalls, 0);
}

TEST_F(CAMProxyTest, NullStringOnSuccessRaisesTheStringLibraryError) {
  std::unique_ptr<qa::CAMProxy> proxy = Load();
  control_->dnsName = nullptr;
  std::string netbios, dns, sid;
  EXPECT_THROW(proxy->GetDomainInfo(netbios, dns, sid), std::logic_error);
  // What the plug-in did hand back is still returned to it.
  EXPECT_EQ(control_->releaseCalls, 2);
}

TEST_F(CAMProxyTest, MachineAccountWithEmptyContainerPassesNull) {
  std::unique_ptr<qa::CAMProxy> proxy = Load();
  qa::ComputerPrincipalInfo info =
      proxy->CreateMachineAccount("node1.ad.test", "");
  EXPECT_EQ(control_->machineAccountCalls, 1);
  EXPECT_EQ(control_->containerWasNull, 1);
  EXPECT_STREQ(control_->account, "node1.ad.test");
  EXPECT_EQ(info.first, "");
  EXPECT_EQ(info.second, "CN=NODE1,OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(info.third, "one-time-password");
  ASSERT_EQ(control_->releaseCalls, 2);
  EXPECT_STREQ(control_->released[0], "CN=NODE1,OU=Hosts,DC=ad,DC=test");
  EXPECT_STREQ(control_->released[1], "one-time-password");
}

TEST_F(CAMProxyTest, MachineAccountPassesTheContainer) {
  std::unique_ptr<qa::CAMProxy> proxy = Load(true, "12:34");
  proxy->CreateMachineAccount("node1.ad.test", "OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(control_->containerWasNull, 0);
  EXPECT_STREQ(control_->container, "OU=Hosts,DC=ad,DC=test");
  EXPECT_STREQ(control_->server, "192.0.2.10");
  EXPECT_EQ(control_->verifyCertificate, 1);
  EXPECT_STREQ(control_->thumbprint, "12:34");
}

// Raises the exception that a domain-information result code becomes.
template <class Expected>
void ExpectDomainInfoFailure(qa::CAMProxy& proxy,
                             TestCAMProxyControl* control, uint32_t result,
                             uint64_t code, const char* text) {
  control->domainInfoResult = result;
  const int releasedBefore = control->releaseCalls;
  std::string netbios = "kept", dns, sid;
  try {
    proxy.GetDomainInfo(netbios, dns, sid);
    ADD_FAILURE() << "no exception for " << result;
  } catch (const qa::Exception& error) {
    EXPECT_EQ(typeid(error), typeid(Expected)) << result;
    EXPECT_EQ(error.GetCode(), code);
    EXPECT_STREQ(error.what(), text);
  }
  EXPECT_EQ(netbios, "kept");
  EXPECT_EQ(control->releaseCalls, releasedBefore);
}

TEST_F(CAMProxyTest, ResultCodeTable) {
  std::unique_ptr<qa::CAMProxy> proxy = Load();
  ExpectDomainInfoFailure<qa::NotEnoughMemoryException>(
      *proxy, control_, 8, 8, "Exception 0x00000008: Not enough memory");
  ExpectDomainInfoFailure<qa::ConnectionRefusedException>(
      *proxy, control_, 1225, 1225,
      "Exception 0x000004c9: The remote computer refused the network "
      "connection.");
  ExpectDomainInfoFailure<qa::ConnectionInvalidException>(
      *proxy, control_, 1229, 1229,
      "Exception 0x000004cd: An operation was attempted on a nonexistent "
      "network connection.");
  ExpectDomainInfoFailure<qa::WSATimedOutException>(
      *proxy, control_, 10060, 10060,
      "Exception 0x0000274c: A connection attempt failed because the "
      "connected party did not properly respond after a period of time, or "
      "established connection failed because connected host has failed to "
      "respond.");
  ExpectDomainInfoFailure<qa::InvalidCAMCertificateException>(
      *proxy, control_, 0x80090325u, 0,
      "The CAM server's certificate cannot be verified.");
  ExpectDomainInfoFailure<qa::UnknownException>(
      *proxy, control_, 5, 5, "Exception 0x00000005: Unknown exception");
  ExpectDomainInfoFailure<qa::UnknownException>(
      *proxy, control_, 1326, 1326, "Exception 0x0000052e: Unknown exception");
}

TEST_F(CAMProxyTest, MachineAccountFailureReturnsNothing) {
  std::unique_ptr<qa::CAMProxy> proxy = Load();
  control_->machineAccountResult = 1225;
  EXPECT_THROW(proxy->CreateMachineAccount("node1.ad.test", ""),
               qa::ConnectionRefusedException);
  EXPECT_EQ(control_->releaseCalls, 0);
}

}  // namespace
