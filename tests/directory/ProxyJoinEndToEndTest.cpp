// Joining a Samba Active Directory domain through quarry-authproxyd, with
// quarryauthctl, the quarryadcli directory plug-in and the quarrycam proxy
// plug-in. The domain controller (198.51.100.10) runs in a network
// namespace of its own, the proxy beside it in that namespace; this host is
// node1.ad.test at 198.51.100.1.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "authproxy/ProxyHarness.h"
#include "support/Files.h"
#include "support/Plugins.h"

namespace authproxy_test {
namespace {

using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

const std::string kSambaDc = SAMBA_DC;
const char kDcDirectory[] = "/var/lib/samba-dc";
const char kProxy[] = "198.51.100.10";
const char kProxyCertificate[] = "/etc/quarry/authproxyd.pem";
const char kProxyLog[] = "/var/lib/authproxyd.log";
const char kAdminPassword[] = "Quarry-Admin-1";

struct CtlResult {
  int exitStatus;
  std::string out;
  std::string err;
};

CtlResult RunCtl(const std::string& arguments) {
  const int status = std::system((std::string(QUARRYAUTHCTL) + " " + arguments +
                                  " < /dev/null > /var/lib/quarry-test-ctl.out 2> /var/lib/quarry-test-ctl.err")
                                     .c_str());
  return CtlResult{WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                   ReadFile("/var/lib/quarry-test-ctl.out"), ReadFile("/var/lib/quarry-test-ctl.err")};
}

// The distinguished name of the domain's computer account name, read from
// the domain controller's own database; empty when there is none.
std::string ComputerDN(const std::string& name) {
  const int status = std::system(
      (kSambaDc + " tool " + kDcDirectory + " computer show " + name +
       " --attributes=distinguishedName > /var/lib/quarry-test-computer.out 2>&1")
          .c_str());
  if (status != 0) return std::string();
  const std::string text = ReadFile("/var/lib/quarry-test-computer.out");
  return text.compare(0, 4, "dn: ") == 0 ? text.substr(4, text.find('\n') - 4)
                                          : "(unexpected: " + text + ")";
}

// An attribute of the domain's computer account name, as samba-tool shows
// it ("objectGUID: ..."); empty when there is no such account.
std::string ComputerAttribute(const std::string& name,
                              const std::string& attribute) {
  const int status = std::system(
      (kSambaDc + " tool " + kDcDirectory + " computer show " + name +
       " --attributes=" + attribute + " > /var/lib/quarry-test-computer.out 2>&1")
          .c_str());
  if (status != 0) return std::string();
  const std::string text = ReadFile("/var/lib/quarry-test-computer.out");
  const std::string::size_type line = text.find("\n" + attribute + ": ");
  if (line == std::string::npos) return std::string();
  const std::string::size_type start = line + attribute.size() + 3;
  return text.substr(start, text.find('\n', start) - start);
}

// What the proxy answers curl from this host, presenting the certificate
// /etc/quarry/<identity>.pem: status code, then body.
std::pair<std::string, std::string> AskProxy(
    const std::string& body, const std::string& identity = "quarrycam") {
  Shell("curl -sk --max-time 60 -o /var/lib/quarry-test-curl.body -w '%{http_code}' "
        "--cert /etc/quarry/" + identity + ".pem --key /etc/quarry/" +
        identity + ".key -X POST "
        "-d '" + body + "' https://198.51.100.10/api/v1/computers"
        " > /var/lib/quarry-test-curl.code");
  return {ReadFile("/var/lib/quarry-test-curl.code"), ReadFile("/var/lib/quarry-test-curl.body")};
}

void SetVerification(int value) {
  WriteFile("/etc/quarry/advanced.conf",
            "UserVars.ActiveDirectoryVerifyCAMCertificate = \"" +
                std::to_string(value) + "\"\n");
}

class ProxyJoinEndToEndTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Shell(kSambaDc + " start " SAMBA_DC_TEMPLATE " " + kDcDirectory);
    dcStarted_ = true;
    PrepareHost();
    PrepareProxy();
    StartProxy();
  }

  void TearDown() override {
    proxy_.reset();
    if (dcStarted_) Shell(kSambaDc + " stop " + kDcDirectory);
  }

  static void PrepareHost() {
    Shell("hostname node1");
    WriteFile("/etc/hosts",
              "127.0.0.1\tlocalhost\n198.51.100.1\tnode1.ad.test node1\n");
    WriteFile("/etc/resolv.conf", "nameserver 198.51.100.10\nsearch ad.test\n");
    WriteFile("/etc/krb5.conf",
              "[libdefaults]\n  default_realm = AD.TEST\n"
              "  dns_lookup_kdc = true\n  rdns = false\n");
    WriteFile("/etc/quarry/network.conf", "management-interface = \"qdc0\"\n");
    WriteFile("/etc/quarry/quarryauth/authentication.conf",
              "remote-authentication-store = \"None\"\n");
    WriteFile("/etc/quarry/quarryauth/provider.conf",
              "provider = \"quarryadcli\"\n");
    WriteFile("/etc/quarry/quarryauth/camprovider.conf",
              "provider = \"quarrycam\"\n");
    quarry_test::InstallPlugin(QUARRYADCLI_PLUGIN, "quarryadcli", true);
    quarry_test::InstallPlugin(QUARRYCAM_PLUGIN, "quarrycam", true);
    SetVerification(1);
    // The proxy serves enrolled hosts only: this host makes its own
    // certificate, and the proxy's administrator enrols it.
    Shell(std::string(QUARRYAUTHCTL) +
          " host-cert create --self-signed > /dev/null");
  }

  static void PrepareProxy() {
    MakeCertificate("authproxyd");
    WriteFile("/etc/quarry/authproxyd.secret", std::string(kAdminPassword) + "\n");
    ::chmod("/etc/quarry/authproxyd.secret", 0600);
    WriteFile("/etc/quarry/authproxyd.conf",
              "listen-address = \"198.51.100.10\"\n"
              "certificate-file = \"/etc/quarry/authproxyd.pem\"\n"
              "key-file = \"/etc/quarry/authproxyd.key\"\n"
              "domain = \"ad.test\"\n"
              "service-user = \"Administrator\"\n"
              "password-file = \"/etc/quarry/authproxyd.secret\"\n"
              "allowed-networks = \"198.51.100.1\"\n");
    Shell(std::string(AUTHPROXYD) +
          " enroll node1.ad.test --certificate /etc/quarry/quarrycam.pem"
          " > /dev/null");
  }

  void StartProxy() {
    const std::string netns =
        ReadFile(std::string(kDcDirectory) + "/netns.pid");
    proxy_.reset(new Daemon({"nsenter", "--net", "--target",
                             netns.substr(0, netns.find('\n')), AUTHPROXYD,
                             "--foreground"},
                            kProxyLog));
    ASSERT_TRUE(WaitForPort(kProxy, 443, std::chrono::seconds(15)))
        << ReadFile(kProxyLog);
  }

  bool dcStarted_ = false;
  std::unique_ptr<Daemon> proxy_;
};

TEST_F(ProxyJoinEndToEndTest, JoinsWithTheProxysCertificateVerified) {
  const CtlResult imported =
      RunCtl(std::string("import-proxy-cert ") + kProxyCertificate);
  ASSERT_EQ(imported.exitStatus, 0) << imported.err;
  EXPECT_EQ(imported.out, "Imported the proxy certificate; its thumbprint is " +
                              OpensslThumbprint(kProxyCertificate) + ".\n");

  const CtlResult domain = RunCtl(std::string("proxy-domain ") + kProxy);
  EXPECT_EQ(domain.exitStatus, 0) << domain.err;
  EXPECT_EQ(domain.out, "ad.test\n");

  const CtlResult joined = RunCtl(std::string("join-proxy ") + kProxy);
  ASSERT_EQ(joined.exitStatus, 0) << joined.err << ReadFile(kProxyLog);
  EXPECT_EQ(joined.out,
            "Joined ad.test through the authentication proxy at 198.51.100.10.\n");
  EXPECT_EQ(ComputerDN("NODE1"), "CN=NODE1,CN=Computers,DC=ad,DC=test");

  const CtlResult status = RunCtl("status --json");
  EXPECT_NE(status.out.find("\"authProxyAddress\": \"198.51.100.10\""),
            std::string::npos)
      << status.out;
  EXPECT_NE(status.out.find("\"joined\": true"), std::string::npos) << status.out;
  EXPECT_EQ(proxy_->Stop(), 0);
  const std::string log = ReadFile(kProxyLog);
  EXPECT_NE(log.find("created computer account CN=NODE1,CN=Computers,DC=ad,"
                     "DC=test for 198.51.100.1"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find(kAdminPassword), std::string::npos);
}

TEST_F(ProxyJoinEndToEndTest, RefusesAnotherCertificateAndAStoppedProxy) {
  MakeCertificate("imported");
  ASSERT_EQ(RunCtl("import-proxy-cert /etc/quarry/imported.pem").exitStatus, 0);
  const CtlResult refused = RunCtl(std::string("join-proxy ") + kProxy);
  EXPECT_EQ(refused.exitStatus, 3);
  EXPECT_NE(refused.err.find("The CAM server's certificate cannot be verified."),
            std::string::npos)
      << refused.err;
  EXPECT_EQ(ComputerDN("NODE1"), "");

  SetVerification(0);
  const CtlResult joined = RunCtl(std::string("join-proxy ") + kProxy);
  ASSERT_EQ(joined.exitStatus, 0) << joined.err << ReadFile(kProxyLog);
  EXPECT_EQ(ComputerDN("NODE1"), "CN=NODE1,CN=Computers,DC=ad,DC=test");

  EXPECT_EQ(proxy_->Stop(), 0);
  const CtlResult stopped = RunCtl(std::string("proxy-domain ") + kProxy);
  EXPECT_EQ(stopped.exitStatus, 3);
  EXPECT_NE(stopped.err.find("The remote computer refused the network "
                             "connection."),
            std::string::npos)
      << stopped.err;
}

// The attack that the proxy once allowed: take over an existing computer
// account by asking for it under another domain's name, in a container of
// the caller's choosing. Neither that nor a plain request for an account
// outside the base container touches the account.
TEST_F(ProxyJoinEndToEndTest, RefusesToTakeOverAnotherComputersAccount) {
  Shell(kSambaDc + " tool " + kDcDirectory +
        " ou create OU=FileServers,DC=ad,DC=test > /dev/null");
  Shell(kSambaDc + " tool " + kDcDirectory +
        " computer create FS01 --computerou=OU=FileServers > /dev/null");
  const std::string fileServer = ComputerAttribute("FS01", "objectGUID");
  const std::string controller = ComputerAttribute("DC1", "objectGUID");
  ASSERT_FALSE(fileServer.empty());
  ASSERT_FALSE(controller.empty());

  // This host, enrolled as node1.ad.test, asks for the other accounts.
  for (const char* body :
       {"{\"hostName\":\"fs01.evil.example\",\"container\":"
        "\"OU=Domain Controllers,DC=ad,DC=test\"}",
        "{\"hostName\":\"fs01.ad.test\",\"container\":"
        "\"OU=Domain Controllers,DC=ad,DC=test\"}",
        "{\"hostName\":\"fs01.ad.test\"}", "{\"hostName\":\"dc1.ad.test\"}"}) {
    EXPECT_EQ(AskProxy(body).first, "403") << body;
  }
  // Even a certificate enrolled for the file server's own name cannot have
  // its account, which lies outside the proxy's base container, reset.
  MakeHostCertificate("fs01.ad.test");
  Shell(std::string(AUTHPROXYD) +
        " enroll fs01.ad.test --certificate /etc/quarry/fs01.ad.test.pem"
        " > /dev/null");
  const auto fileServerReset =
      AskProxy("{\"hostName\":\"fs01.ad.test\"}", "fs01.ad.test");
  EXPECT_EQ(fileServerReset.first, "409") << fileServerReset.second;
  EXPECT_NE(fileServerReset.second.find(
                "exists as CN=FS01,OU=FileServers,DC=ad,DC=test"),
            std::string::npos)
      << fileServerReset.second;

  EXPECT_EQ(ComputerAttribute("FS01", "objectGUID"), fileServer);
  EXPECT_EQ(ComputerDN("FS01"), "CN=FS01,OU=FileServers,DC=ad,DC=test");
  EXPECT_EQ(ComputerAttribute("DC1", "objectGUID"), controller);
  EXPECT_EQ(ComputerDN("DC1"), "CN=DC1,OU=Domain Controllers,DC=ad,DC=test");
  EXPECT_EQ(proxy_->Stop(), 0);
  const std::string log = ReadFile(kProxyLog);
  for (const char* line :
       {" for node1.ad.test) a computer account for fs01.evil.example: this "
        "client's certificate is enrolled for node1.ad.test",
        " for node1.ad.test) a computer account for dc1.ad.test: this client's "
        "certificate is enrolled for node1.ad.test",
        " for fs01.ad.test) a computer account for fs01.ad.test: the computer "
        "account for fs01.ad.test exists as CN=FS01,OU=FileServers"}) {
    EXPECT_NE(log.find(std::string("refused 198.51.100.1 (certificate ")),
              std::string::npos)
        << log;
    EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
  }
}

}  // namespace
}  // namespace authproxy_test
