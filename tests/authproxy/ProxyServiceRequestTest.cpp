// Requests that the running proxy refuses before they reach the directory:
// names outside its domain or not host names, containers outside its base,
// malformed or oversized bodies, and clients without an enrolled or trusted
// certificate or that expect another certificate of the proxy.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <utility>

#include "authproxy/ProxyServiceFixture.h"

namespace authproxy_test {
namespace {

// The first attack on the proxy: an existing account, asked for under
// another domain's name and in a container of the caller's choosing.
TEST_F(ProxyServiceTest, RefusesNamesOutsideItsDomainAndContainersOutsideItsBase) {
  Configure("request-timeout-seconds = \"1\"\n");
  StartProxy();
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"fs01.evil.example\","
                 "\"container\":\"OU=Domain Controllers,DC=ad,DC=test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"this client's certificate "
                                       "is enrolled for node1.ad.test, not "
                                       "fs01.evil.example\"}")));
  // Even a host enrolled under a name outside the domain gets nothing.
  MakeHostCertificate("node9.bad.test");
  Shell("echo '" + OpensslSha256Thumbprint("/etc/quarry/node9.bad.test.pem") +
        " = \"node9.bad.test\"' >> /etc/quarry/authproxyd.enrolled");
  UseHostCertificate("node9.bad.test");
  host_ = "node9.bad.test";
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node9.bad.test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"\\\"node9.bad.test\\\" "
                                       "is not a name in the domain ad.test\"}")));
  EXPECT_EQ(plugin_.CreateMachineAccount(kServer, "node9.bad.test", "", true,
                                         thumbprint_)
                .result,
            5u);
  UseHostCertificate("node1.ad.test");
  host_ = "node1.ad.test";
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node1.ad.test\","
                 "\"container\":\"OU=Domain Controllers,DC=ad,DC=test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(
                std::string("403"),
                std::string("{\"error\":\"the container \\\"OU=Domain "
                            "Controllers,DC=ad,DC=test\\\" is not under the "
                            "proxy's base container \\\"CN=Computers,DC=ad,"
                            "DC=test\\\"\"}")));
  EXPECT_FALSE(Reached());
  // Case and blanks do not matter to the directory, nor here: this request
  // passes and reaches the directory, which never answers.
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "NODE1.AD.TEST", "cn = computers, dc=AD,dc=Test", true,
      thumbprint_);
  EXPECT_EQ(account.result, 10060u) << ReadFile(kLog);
  EXPECT_TRUE(Reached());
  EXPECT_EQ(StopProxy(), 0);
  const std::string log = ReadFile(kLog);
  EXPECT_NE(log.find(" for node9.bad.test) a computer account for "
                     "node9.bad.test: \"node9.bad.test\" is not a name in "
                     "the domain ad.test"),
            std::string::npos)
      << log;
}

// Only enrolled hosts are served, and each only for its own name.
TEST_F(ProxyServiceTest, RefusesClientsWithoutAnEnrolledCertificate) {
  Configure("");
  StartProxy();
  const std::string node1 = OpensslSha256Thumbprint("/etc/quarry/node1.ad.test.pem");

  host_.clear();
  EXPECT_EQ(Curl("https://127.0.0.1/api/v1/domain"),
            std::make_pair(
                std::string("403"),
                std::string("{\"error\":\"this proxy serves enrolled hosts "
                            "only, and the client presented no certificate; "
                            "create the host's certificate with 'quarryauthctl "
                            "host-cert create' and have it enrolled with "
                            "'quarry-authproxyd enroll'\"}")));
  UseHostCertificate("");
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, true, thumbprint_).result, 5u);

  MakeHostCertificate("node3.ad.test");
  const std::string node3 = OpensslSha256Thumbprint("/etc/quarry/node3.ad.test.pem");
  host_ = "node3.ad.test";
  UseHostCertificate("node3.ad.test");
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node3.ad.test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("403"),
                           "{\"error\":\"the client certificate " + node3 +
                               " is not enrolled with this proxy; enrol it "
                               "with 'quarry-authproxyd enroll HOST "
                               "--thumbprint " + node3 + "'\"}"));
  EXPECT_EQ(plugin_.CreateMachineAccount(kServer, "node3.ad.test", "", true,
                                         thumbprint_)
                .result,
            5u);

  // node1 asks for node2's account.
  host_ = "node1.ad.test";
  UseHostCertificate("node1.ad.test");
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node2.ad.test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"this client's certificate "
                                       "is enrolled for node1.ad.test, not "
                                       "node2.ad.test\"}")));

  // A revoked certificate is refused from the next request on.
  ASSERT_EQ(Authproxyd("revoke node1.ad.test"), 0);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.out"),
            "Revoked the certificate " + node1 + " of node1.ad.test.\n");
  EXPECT_EQ(plugin_.CreateMachineAccount(kServer, "node1.ad.test", "", true,
                                         thumbprint_)
                .result,
            5u);
  EXPECT_FALSE(Reached());
  EXPECT_EQ(StopProxy(), 0);
  const std::string log = ReadFile(kLog);
  for (const std::string& line :
       {std::string("refused 127.0.0.1 (no certificate) the domain: this proxy "
                    "serves enrolled hosts only"),
        "refused 127.0.0.1 (certificate " + node3 +
            ", not enrolled) a computer account: the client certificate",
        "refused 127.0.0.1 (certificate " + node1 +
            " for node1.ad.test) a computer account for node2.ad.test: this "
            "client's certificate is enrolled for node1.ad.test, not "
            "node2.ad.test"}) {
    EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
  }
}

TEST_F(ProxyServiceTest, ServesHostsWhoseCertificateATrustedAuthorityIssued) {
  MakeAuthorityIssuedCertificate("node5.ad.test");
  Configure("client-ca-file = \"/etc/quarry/hosts-ca.pem\"\n"
            "request-timeout-seconds = \"1\"\n");
  StartProxy();
  UseHostCertificate("node5.ad.test");
  host_ = "node5.ad.test";
  // Served: the request reaches the directory, which never answers.
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node5.ad.test", "", true, thumbprint_);
  EXPECT_EQ(account.result, 10060u) << ReadFile(kLog);
  EXPECT_TRUE(Reached());
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node6.ad.test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"this client's certificate "
                                       "is enrolled for node5.ad.test, not "
                                       "node6.ad.test\"}")));
  // A self-signed certificate of the same name is not the authority's.
  MakeHostCertificate("node7.ad.test");
  UseHostCertificate("node7.ad.test");
  EXPECT_EQ(plugin_.CreateMachineAccount(kServer, "node7.ad.test", "", true,
                                         thumbprint_)
                .result,
            5u);
}

TEST_F(ProxyServiceTest, RefusesNamesThatAreNotHostNames) {
  Configure("");
  StartProxy();
  for (const char* name : {"node1", "-x.ad.test", "node_1.ad.test",
                           "averyveryverylongname.ad.test"}) {
    const CamPlugin::Account account =
        plugin_.CreateMachineAccount(kServer, name, "", true, thumbprint_);
    EXPECT_EQ(account.result, 87u) << name;
    EXPECT_FALSE(account.stringsReturned);
  }
  EXPECT_EQ(plugin_.CreateMachineAccount(kServer, "node1.ad.test", "Servers",
                                         true, thumbprint_)
                .result,
            87u);
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"--help\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("400"),
                           std::string("{\"error\":\"\\\"--help\\\" is not a "
                                       "fully qualified host name\"}")));
  // A body beyond 16 KiB is refused unread.
  WriteFile("/var/lib/quarry-test-large.json",
            "{\"hostName\":\"node1.ad.test\",\"pad\":\"" + std::string(17000, 'x') +
                "\"}");
  EXPECT_EQ(Curl("-X POST --data-binary @/var/lib/quarry-test-large.json "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("413"),
                           std::string("{\"error\":\"the request is larger than "
                                       "16384 bytes\"}")));
  EXPECT_EQ(Curl("-X POST -d '[1]' https://127.0.0.1/api/v1/computers").first,
            "400");
  EXPECT_EQ(Curl("https://127.0.0.1/api/v2/domain"),
            std::make_pair(std::string("404"),
                           std::string("{\"error\":\"no such request\"}")));
  EXPECT_FALSE(Reached());
}

TEST_F(ProxyServiceTest, RefusesACertificateWithAnotherThumbprint) {
  Configure("request-timeout-seconds = \"1\"\n");
  StartProxy();
  std::string other = thumbprint_;
  other[0] = other[0] == 'A' ? 'B' : 'A';
  const CamPlugin::Domain domain = plugin_.GetDomainInfo(kServer, true, other);
  EXPECT_EQ(domain.result, 0x80090325u);
  EXPECT_FALSE(domain.stringsReturned);
  // The thumbprint text is compared as the library writes it.
  std::string lower = thumbprint_;
  for (char& c : lower) c = static_cast<char>(std::tolower(c));
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, true, lower).result, 0x80090325u);
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, true, "").result, 0x80090325u);
  const CamPlugin::Account account =
      plugin_.CreateMachineAccount(kServer, "node1.ad.test", "", true, other);
  EXPECT_EQ(account.result, 0x80090325u);
  EXPECT_FALSE(account.stringsReturned);
  EXPECT_FALSE(Reached());
  // Without verification any certificate is accepted: the request reaches
  // the directory, which never answers.
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, false, other).result, 10060u);
  EXPECT_TRUE(Reached());
  EXPECT_EQ(thumbprint_.size(), 59u);
}

}  // namespace
}  // namespace authproxy_test
