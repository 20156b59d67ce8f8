// "proxy-domain", "import-proxy-cert" and "join-proxy", with the
// demonstration proxy plug-in.
#include <gtest/gtest.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const char kCertificate[] = "/etc/quarry/cam.pem";

std::string Thumbprint() {
  Shell(std::string("openssl x509 -in ") + kCertificate +
        " -noout -fingerprint -sha1 | cut -d= -f2 > /etc/quarry/cam.sha1");
  std::string text = ReadFile("/etc/quarry/cam.sha1");
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

class ProxyCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    InstallDemo();
    PrepareHostForJoin();
    Shell(std::string("openssl req -x509 -newkey rsa:2048 -nodes -days 1 "
                      "-subj /CN=cam.ad.test -keyout /etc/quarry/cam-key.pem "
                      "-out ") +
          kCertificate + " 2>/dev/null");
    thumbprint = Thumbprint();
    WriteFile("/etc/quarry/quarrydemocam.conf",
              "server = \"192.0.2.10\"\ndomain = \"ad.test\"\n"
              "thumbprint = \"" +
                  thumbprint + "\"\n");
  }
  std::string thumbprint;
};

TEST_F(ProxyCommandsTest, ShowsTheProxysDomain) {
  const ToolResult text = RunTool({"proxy-domain", "192.0.2.10"});
  EXPECT_EQ(text.exitStatus, 0) << text.err;
  EXPECT_EQ(text.out, "ad.test\n");
  const nlohmann::json json =
      RunTool({"proxy-domain", "192.0.2.10", "--json"}).Json();
  EXPECT_EQ(json["server"], "192.0.2.10");
  EXPECT_EQ(json["domain"], "ad.test");
  const ToolResult refused = RunTool({"proxy-domain", "192.0.2.11"});
  EXPECT_EQ(refused.exitStatus, 3);
  EXPECT_NE(refused.err.find("0x000004c9"), std::string::npos) << refused.err;
}

TEST_F(ProxyCommandsTest, JoinsAfterTheCertificateIsImported) {
  const ToolResult withoutCertificate =
      RunTool({"join-proxy", "192.0.2.10", "--ou", "Servers"});
  EXPECT_EQ(withoutCertificate.exitStatus, 3);
  EXPECT_EQ(withoutCertificate.err,
            "quarryauthctl: warning: the active store is 'None', so the "
            "domain's users cannot log in after this join until "
            "'quarryauthctl activate \"Active Directory\"'\n"
            "quarryauthctl: The specified thumbprint store "
            "'auth_proxy_certificate' is invalid\n"
            "quarryauthctl: no authentication proxy certificate has been "
            "imported; run 'quarryauthctl import-proxy-cert FILE' with the "
            "proxy's certificate first\n");

  const ToolResult imported = RunTool({"import-proxy-cert", kCertificate});
  EXPECT_EQ(imported.exitStatus, 0) << imported.err;
  EXPECT_EQ(imported.out, "Imported the proxy certificate; its thumbprint is " +
                              thumbprint + ".\n");

  const ToolResult joined =
      RunTool({"join-proxy", "192.0.2.10", "--ou", "Servers"});
  EXPECT_EQ(joined.exitStatus, 0) << joined.err;
  EXPECT_EQ(joined.out,
            "Joined ad.test through the authentication proxy at 192.0.2.10.\n");
  const nlohmann::json status = RunTool({"status", "--json"}).Json();
  EXPECT_EQ(status["joined"], true);
  EXPECT_EQ(status["domain"]["dnsName"], "ad.test");
  EXPECT_EQ(status["organizationalUnit"], "Servers");
  EXPECT_EQ(status["authProxyAddress"], "192.0.2.10");
  EXPECT_EQ(status["machineAccountDN"], "CN=NODE1,OU=Servers,DC=ad,DC=test");
}

TEST_F(ProxyCommandsTest, RefusesAProxyWithAnotherCertificate) {
  EXPECT_EQ(RunTool({"import-proxy-cert", kCertificate}).exitStatus, 0);
  WriteFile("/etc/quarry/quarrydemocam.conf",
            "server = \"192.0.2.10\"\nthumbprint = \"00:11\"\n");
  const ToolResult refused = RunTool({"join-proxy", "192.0.2.10"});
  EXPECT_EQ(refused.exitStatus, 3);
  EXPECT_NE(refused.err.find("The CAM server's certificate cannot be verified"),
            std::string::npos)
      << refused.err;
  EXPECT_NE(refused.err.find("quarryauthctl: status 2148074277 "
                             "(SEC_E_UNTRUSTED_ROOT): the authentication "
                             "proxy's certificate is not the one imported; "
                             "import the proxy's current certificate with "
                             "'quarryauthctl import-proxy-cert FILE'\n"),
            std::string::npos)
      << refused.err;
  EXPECT_EQ(RunTool({"status"}).exitStatus, 5);
}

TEST_F(ProxyCommandsTest, RefusesABadCertificateFileAndAHostName) {
  WriteFile("/etc/quarry/not-a-certificate", "hello\n");
  const ToolResult bad =
      RunTool({"import-proxy-cert", "/etc/quarry/not-a-certificate"});
  EXPECT_EQ(bad.exitStatus, 3);
  EXPECT_EQ(bad.err,
            "quarryauthctl: '/etc/quarry/not-a-certificate': The certificate "
            "format is invalid; only PEM format is supported.\n");
  const ToolResult missing = RunTool({"import-proxy-cert", "/etc/quarry/none"});
  EXPECT_EQ(missing.exitStatus, 3);
  EXPECT_EQ(missing.err,
            "quarryauthctl: cannot read the certificate file "
            "'/etc/quarry/none': Exception 0x00000002: The system cannot "
            "find the file specified.\n");
  const ToolResult named = RunTool({"join-proxy", "cam.ad.test"});
  EXPECT_EQ(named.exitStatus, 3);
  EXPECT_NE(named.err.find("IPv4 address 'cam.ad.test' cannot be parsed"),
            std::string::npos)
      << named.err;
}

}  // namespace
}  // namespace quarryauthctl_test
