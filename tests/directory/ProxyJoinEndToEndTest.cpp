// Joining a Samba Active Directory domain through quarry-authproxyd, with
// quarryauthctl, the quarryadcli directory plug-in and the quarrycam proxy
// plug-in.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "directory/ProxyDomain.h"
#include "support/Files.h"
#include "support/Plugins.h"

namespace authproxy_test {
namespace {

using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

using ProxyJoinEndToEndTest = ProxyDomainTest;

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
