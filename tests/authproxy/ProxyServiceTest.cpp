// quarry-authproxyd over HTTPS with a stand-in adcli, asked through the
// quarrycam plug-in and with curl.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>

#include "authproxy/ProxyHarness.h"
#include "support/Files.h"

namespace authproxy_test {
namespace {

using quarry_test::Exists;
using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

const char kSettings[] = "/etc/quarry/authproxyd.conf";
const char kLog[] = "/var/lib/authproxyd.log";
const char kRecords[] = "/var/lib/fake-adcli";
const char kServicePassword[] = "Proxy-Secret-1";
const char kServer[] = "127.0.0.1";

const std::string kBaseSettings =
    "listen-address = \"127.0.0.1\"\n"
    "certificate-file = \"/etc/quarry/authproxyd.pem\"\n"
    "key-file = \"/etc/quarry/authproxyd.key\"\n"
    "domain = \"ad.test\"\n"
    "service-user = \"svc-proxy\"\n"
    "password-file = \"/etc/quarry/authproxyd.secret\"\n";

class ProxyServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MakeCertificate("authproxyd");
    thumbprint_ = OpensslThumbprint("/etc/quarry/authproxyd.pem");
    WriteFile("/etc/quarry/authproxyd.secret",
              std::string(kServicePassword) + "\n");
    ::chmod("/etc/quarry/authproxyd.secret", 0600);
    Shell("mkdir -p /var/lib/fake-adcli /var/lib/fake-adcli-bin && cp " FAKE_ADCLI
          " /var/lib/fake-adcli-bin/adcli");
    // This host is node1.ad.test, enrolled when the proxy starts.
    MakeHostCertificate("node1.ad.test");
    UseHostCertificate("node1.ad.test");
    host_ = "node1.ad.test";
  }

  // The proxy's command line tool on the test's settings: exit status.
  static int Authproxyd(const std::string& arguments) {
    const int status = std::system((std::string(AUTHPROXYD) + " -c " + kSettings +
                                    " " + arguments + " > /var/lib/quarry-test-authproxyd.out "
                                    "2> /var/lib/quarry-test-authproxyd.err")
                                       .c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  static void Enroll(const std::string& host) {
    ASSERT_EQ(Authproxyd("enroll " + host + " --certificate /etc/quarry/" +
                         host + ".pem"),
              0)
        << ReadFile("/var/lib/quarry-test-authproxyd.err");
  }

  void Configure(const std::string& extra,
                 const std::string& networks = "127.0.0.0/8") {
    WriteFile(kSettings, kBaseSettings + "allowed-networks = \"" + networks +
                             "\"\n" + extra);
  }

  void StartProxy(bool ignoreChildSignal = false) {
    Enroll("node1.ad.test");
    proxy_.reset(new Daemon({AUTHPROXYD, "-c", kSettings, "--foreground"},
                            kLog,
                            std::string("/var/lib/fake-adcli-bin:") +
                                std::getenv("PATH"),
                            ignoreChildSignal));
    ASSERT_TRUE(WaitForPort(kServer, 443, std::chrono::seconds(10)))
        << ReadFile(kLog);
  }

  static std::string Call(int number, const char* what) {
    return ReadFile(std::string(kRecords) + "/call-" + std::to_string(number) +
                    "." + what);
  }
  static bool Called(int number) {
    return Exists(std::string(kRecords) + "/call-" + std::to_string(number) +
                  ".args");
  }

  // curl's status code and the body it received, as the current host asks.
  std::pair<std::string, std::string> Curl(const std::string& options) const {
    const std::string identity =
        host_.empty() ? std::string()
                      : "--cert /etc/quarry/" + host_ + ".pem --key /etc/quarry/" +
                            host_ + ".key ";
    Shell("curl -sk --max-time 20 -o /var/lib/quarry-test-curl.body -w '%{http_code}' " +
          identity + options + " > /var/lib/quarry-test-curl.code");
    return {ReadFile("/var/lib/quarry-test-curl.code"), ReadFile("/var/lib/quarry-test-curl.body")};
  }

  std::string thumbprint_;
  std::string host_;  // whose certificate curl presents; empty: none
  CamPlugin plugin_;
  std::unique_ptr<Daemon> proxy_;
};

TEST_F(ProxyServiceTest, AnswersTheDomainWithAVerifiedCertificate) {
  Configure("");
  StartProxy();
  const CamPlugin::Domain domain = plugin_.GetDomainInfo(kServer, true, thumbprint_);
  EXPECT_EQ(domain.result, CAM_PROXY_SUCCESS);
  EXPECT_EQ(domain.netbiosName, "AD");
  EXPECT_EQ(domain.dnsName, "ad.test");
  EXPECT_EQ(domain.sid, "S-1-5-21-1111-2222-3333");
  EXPECT_EQ(Call(1, "args"),
            "show-computer\n--domain=ad.test\n--login-user=svc-proxy\n"
            "--stdin-password\n--verbose\n");
  EXPECT_EQ(Call(1, "stdin"), "Proxy-Secret-1\n");
  // Learnt once: the next answer costs no adcli run.
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, true, thumbprint_).sid,
            "S-1-5-21-1111-2222-3333");
  EXPECT_FALSE(Called(2));
  EXPECT_EQ(Curl("https://127.0.0.1/api/v1/domain"),
            std::make_pair(std::string("200"),
                           std::string("{\"dnsName\":\"ad.test\",\"netbiosName\":"
                                       "\"AD\",\"sid\":\"S-1-5-21-1111-2222-3333\"}")));
  EXPECT_EQ(proxy_->Stop(), 0) << ReadFile(kLog);
}

TEST_F(ProxyServiceTest, CreatesAnAccountWithAFreshOneTimePassword) {
  Configure("domain-controller = \"dc1.ad.test\"\n"
            "base-container = \"DC=ad,DC=test\"\n");
  StartProxy();
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node1.ad.test", "", true, thumbprint_);
  ASSERT_EQ(account.result, CAM_PROXY_SUCCESS) << ReadFile(kLog);
  EXPECT_EQ(account.dn, "CN=NODE1,CN=Computers,DC=ad,DC=test");
  EXPECT_EQ(account.oneTimePassword.size(), 24u);
  EXPECT_EQ(Call(1, "args"),
            "preset-computer\n--domain=ad.test\n"
            "--domain-controller=dc1.ad.test\n--login-user=svc-proxy\n"
            "--stdin-password\n--verbose\n--one-time-password=" +
                account.oneTimePassword + "\nnode1.ad.test\n");
  EXPECT_EQ(Call(1, "stdin"), "Proxy-Secret-1\n");

  MakeHostCertificate("node2.ad.test");
  Enroll("node2.ad.test");
  UseHostCertificate("node2.ad.test");
  const CamPlugin::Account again = plugin_.CreateMachineAccount(
      kServer, "node2.ad.test", "OU=Servers,DC=ad,DC=test", true, thumbprint_);
  ASSERT_EQ(again.result, CAM_PROXY_SUCCESS);
  EXPECT_EQ(again.dn, "CN=NODE2,OU=Servers,DC=ad,DC=test");
  EXPECT_NE(again.oneTimePassword, account.oneTimePassword);
  EXPECT_NE(Call(2, "args").find("\n--domain-ou=OU=Servers,DC=ad,DC=test\n"),
            std::string::npos)
      << Call(2, "args");
  EXPECT_EQ(proxy_->Stop(), 0);
  const std::string log = ReadFile(kLog);
  EXPECT_NE(log.find("created computer account CN=NODE1,CN=Computers,DC=ad,"
                     "DC=test for 127.0.0.1"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find(account.oneTimePassword), std::string::npos);
  EXPECT_EQ(log.find(again.oneTimePassword), std::string::npos);
  EXPECT_EQ(log.find(kServicePassword), std::string::npos);
}

// Services often run with SIGCHLD ignored; adcli's exit status must still
// reach the proxy, or a created account is reported as a failure.
TEST_F(ProxyServiceTest, CreatesAnAccountWhileItIgnoresSigchld) {
  Configure("");
  StartProxy(true);
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node1.ad.test", "", true, thumbprint_);
  ASSERT_EQ(account.result, CAM_PROXY_SUCCESS) << ReadFile(kLog);
  EXPECT_EQ(account.dn, "CN=NODE1,CN=Computers,DC=ad,DC=test");
  EXPECT_TRUE(Called(1));
  EXPECT_EQ(proxy_->Stop(), 0) << ReadFile(kLog);
}

TEST_F(ProxyServiceTest, ResetsAnExistingAccountInItsContainer) {
  Configure("default-container = \"OU=Hosts,DC=ad,DC=test\"\n"
            "base-container = \"DC=ad,DC=test\"\n");
  WriteFile(std::string(kRecords) + "/mode", "exists");
  StartProxy();
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node1.ad.test", "", false, "");
  ASSERT_EQ(account.result, CAM_PROXY_SUCCESS) << ReadFile(kLog);
  EXPECT_EQ(account.dn, "CN=NODE1,OU=Old,DC=ad,DC=test");
  EXPECT_NE(Call(1, "args").find("\n--domain-ou=OU=Hosts,DC=ad,DC=test\n"),
            std::string::npos);
  EXPECT_EQ(Call(2, "args"),
            "delete-computer\n--domain=ad.test\n--login-user=svc-proxy\n"
            "--stdin-password\n--verbose\nnode1.ad.test\n");
  EXPECT_NE(Call(3, "args").find("\n--domain-ou=OU=Old,DC=ad,DC=test\n"
                                 "--one-time-password=" +
                                 account.oneTimePassword + "\n"),
            std::string::npos)
      << Call(3, "args");
}

// An account outside the base container (a domain controller's, a file
// server's) is never deleted to be made again for a caller.
TEST_F(ProxyServiceTest, RefusesToResetAnAccountOutsideTheBaseContainer) {
  Configure("base-container = \"OU=Hypervisors,DC=ad,DC=test\"\n"
            "default-container = \"OU=Hypervisors,DC=ad,DC=test\"\n");
  WriteFile(std::string(kRecords) + "/mode", "exists");
  WriteFile(std::string(kRecords) + "/existing",
            "OU=Domain Controllers,DC=ad,DC=test");
  StartProxy();
  MakeHostCertificate("fs01.ad.test");
  Enroll("fs01.ad.test");
  UseHostCertificate("fs01.ad.test");
  host_ = "fs01.ad.test";
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "fs01.ad.test", "", true, thumbprint_);
  EXPECT_EQ(account.result, 1316u);
  EXPECT_FALSE(account.stringsReturned);
  EXPECT_EQ(
      Curl("-X POST -d '{\"hostName\":\"fs01.ad.test\"}' "
           "https://127.0.0.1/api/v1/computers"),
      std::make_pair(
          std::string("409"),
          std::string("{\"error\":\"the computer account for fs01.ad.test "
                      "exists as CN=FS01,OU=Domain Controllers,DC=ad,DC=test, "
                      "outside the proxy's base container \\\"OU=Hypervisors,"
                      "DC=ad,DC=test\\\"; the proxy does not reset it\"}")));
  // Two presets, each refused; nothing was deleted.
  EXPECT_TRUE(Called(2));
  EXPECT_FALSE(Called(3));
  EXPECT_FALSE(Exists(std::string(kRecords) + "/deleted"));
  EXPECT_EQ(proxy_->Stop(), 0);
  EXPECT_NE(ReadFile(kLog).find(
                "refused 127.0.0.1 (certificate " +
                OpensslSha256Thumbprint("/etc/quarry/fs01.ad.test.pem") +
                " for fs01.ad.test) a computer account for fs01.ad.test: the "
                "computer account for fs01.ad.test exists as CN=FS01,OU=Domain "
                "Controllers,DC=ad,DC=test"),
            std::string::npos)
      << ReadFile(kLog);
}

// The first attack on the proxy: an existing account, asked for under
// another domain's name and in a container of the caller's choosing.
TEST_F(ProxyServiceTest, RefusesNamesOutsideItsDomainAndContainersOutsideItsBase) {
  Configure("");
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
  // Case and blanks do not matter to the directory, nor here.
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "NODE1.AD.TEST", "cn = computers, dc=AD,dc=Test", true,
      thumbprint_);
  EXPECT_EQ(account.result, CAM_PROXY_SUCCESS) << ReadFile(kLog);
  EXPECT_TRUE(Called(1));
  EXPECT_FALSE(Called(2));
  EXPECT_EQ(proxy_->Stop(), 0);
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
  EXPECT_FALSE(Called(1));
  EXPECT_EQ(proxy_->Stop(), 0);
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
  Shell("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
        "-days 2 -subj /CN=Hosts-CA -keyout /etc/quarry/hosts-ca.key "
        "-out /etc/quarry/hosts-ca.pem 2>/dev/null");
  WriteFile("/etc/quarry/node5.ext", "subjectAltName=DNS:node5.ad.test\n");
  Shell("openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
        "-subj /CN=node5.ad.test -keyout /etc/quarry/node5.ad.test.key "
        "-out /var/lib/quarry-test-node5.csr 2>/dev/null && "
        "openssl x509 -req -in /var/lib/quarry-test-node5.csr -CA /etc/quarry/hosts-ca.pem "
        "-CAkey /etc/quarry/hosts-ca.key -CAcreateserial -days 2 "
        "-extfile /etc/quarry/node5.ext "
        "-out /etc/quarry/node5.ad.test.pem 2>/dev/null");
  Configure("client-ca-file = \"/etc/quarry/hosts-ca.pem\"\n");
  StartProxy();
  UseHostCertificate("node5.ad.test");
  host_ = "node5.ad.test";
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node5.ad.test", "", true, thumbprint_);
  EXPECT_EQ(account.result, CAM_PROXY_SUCCESS) << ReadFile(kLog);
  EXPECT_EQ(account.dn, "CN=NODE5,CN=Computers,DC=ad,DC=test");
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
  EXPECT_TRUE(Called(1));
  EXPECT_FALSE(Called(2));
}

TEST_F(ProxyServiceTest, EnrolsListsAndRevokesHosts) {
  Configure("");
  MakeHostCertificate("node2.ad.test");
  const std::string node2 = OpensslSha256Thumbprint("/etc/quarry/node2.ad.test.pem");
  ASSERT_EQ(Authproxyd("enroll NODE2.ad.test --thumbprint " + node2), 0);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.out"),
            "Enrolled node2.ad.test with the certificate " + node2 + ".\n");
  ASSERT_EQ(Authproxyd("list"), 0);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.out"), "node2.ad.test " + node2 + "\n");
  struct stat status;
  ASSERT_EQ(::stat("/etc/quarry/authproxyd.enrolled", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);

  EXPECT_EQ(Authproxyd("enroll node2.evil.example --thumbprint " + node2), 2);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.err"),
            "quarry-authproxyd: \"node2.evil.example\" is not a name in the "
            "domain ad.test\n");
  EXPECT_EQ(Authproxyd("enroll node3.ad.test --thumbprint AB:CD"), 2);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.err"),
            "quarry-authproxyd: \"AB:CD\" is not a SHA-256 thumbprint (32 "
            "hexadecimal pairs joined by ':', as 'quarryauthctl host-cert "
            "thumbprint' shows it)\n");
  EXPECT_EQ(Authproxyd("enroll node3.ad.test --certificate /etc/quarry/none.pem"), 1);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.err"),
            "quarry-authproxyd: cannot read the certificate /etc/quarry/none.pem\n");
  EXPECT_EQ(Authproxyd("revoke node4.ad.test"), 1);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.err"),
            "quarry-authproxyd: no enrolled host or certificate is "
            "\"node4.ad.test\"\n");
  // Nothing that was refused changed the list.
  ASSERT_EQ(Authproxyd("list"), 0);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.out"), "node2.ad.test " + node2 + "\n");
  ASSERT_EQ(Authproxyd("revoke " + node2), 0);
  ASSERT_EQ(Authproxyd("list"), 0);
  EXPECT_EQ(ReadFile("/var/lib/quarry-test-authproxyd.out"), "");
}

TEST_F(ProxyServiceTest, RefusesClientsOutsideTheAllowedNetworks) {
  Configure("", "192.0.2.0/24 198.51.100.7");
  StartProxy();
  const CamPlugin::Domain domain = plugin_.GetDomainInfo(kServer, true, thumbprint_);
  EXPECT_EQ(domain.result, 5u);
  EXPECT_FALSE(domain.stringsReturned);
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node1.ad.test", "", true, thumbprint_);
  EXPECT_EQ(account.result, 5u);
  EXPECT_FALSE(account.stringsReturned);
  EXPECT_EQ(Curl("https://127.0.0.1/api/v1/domain"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"this address may not use "
                                       "the proxy\"}")));
  EXPECT_FALSE(Called(1));
  EXPECT_EQ(proxy_->Stop(), 0);
  EXPECT_NE(ReadFile(kLog).find("refused 127.0.0.1: not in allowed-networks"),
            std::string::npos);
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
  EXPECT_EQ(Curl("-X POST -d '[1]' https://127.0.0.1/api/v1/computers").first,
            "400");
  EXPECT_EQ(Curl("https://127.0.0.1/api/v2/domain"),
            std::make_pair(std::string("404"),
                           std::string("{\"error\":\"no such request\"}")));
  EXPECT_FALSE(Called(1));
}

TEST_F(ProxyServiceTest, RefusesACertificateWithAnotherThumbprint) {
  Configure("");
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
  EXPECT_FALSE(Called(1));
  // Without verification any certificate is accepted.
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, false, other).dnsName, "ad.test");
  EXPECT_EQ(thumbprint_.size(), 59u);
}

TEST_F(ProxyServiceTest, ReportsTheDirectorysRefusalAndSilence) {
  Configure("adcli-timeout-seconds = \"1\"\n");
  WriteFile(std::string(kRecords) + "/mode", "refuse");
  StartProxy();
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, true, thumbprint_).result, 1359u);
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node1.ad.test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(
                std::string("502"),
                std::string("{\"error\":\"couldn't connect to ad.test domain: "
                            "Couldn't authenticate as: svc-proxy@AD.TEST: "
                            "Preauthentication failed\"}")));
  WriteFile(std::string(kRecords) + "/mode", "hang");
  const auto started = std::chrono::steady_clock::now();
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node1.ad.test", "", true, thumbprint_);
  EXPECT_EQ(account.result, 10060u);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
  // The stand-in that never finished was killed with its process group.
  EXPECT_NE(std::system("pgrep -x sleep > /dev/null"), 0);
}

TEST_F(ProxyServiceTest, RefusesToStartWithUnusableSettings) {
  Configure("port = \"0\"\n");
  Daemon badPort({AUTHPROXYD, "-c", kSettings, "--foreground"}, kLog);
  EXPECT_EQ(badPort.WaitForExit(std::chrono::seconds(10)), 1);
  EXPECT_EQ(ReadFile(kLog),
            "quarry-authproxyd: /etc/quarry/authproxyd.conf: port \"0\" is not "
            "a number from 1 to 65535\n");

  Configure("");
  ::chmod("/etc/quarry/authproxyd.secret", 0644);
  Shell(std::string("rm -f ") + kLog);
  Daemon openPassword({AUTHPROXYD, "-c", kSettings}, kLog);
  EXPECT_EQ(openPassword.WaitForExit(std::chrono::seconds(10)), 1);
  EXPECT_EQ(ReadFile(kLog),
            "quarry-authproxyd: /etc/quarry/authproxyd.secret can be read or "
            "written by others than its owner; it must have mode 0600 or "
            "0400\n");

  Shell(std::string("rm -f ") + kLog + " " + kSettings);
  Daemon missing({AUTHPROXYD, "--foreground"}, kLog);
  EXPECT_EQ(missing.WaitForExit(std::chrono::seconds(10)), 1);
  EXPECT_EQ(ReadFile(kLog),
            "quarry-authproxyd: cannot read /etc/quarry/authproxyd.conf: No "
            "such file or directory\n");

  Shell(std::string("rm -f ") + kLog);
  Daemon usage({AUTHPROXYD, "--port", "443"}, kLog);
  EXPECT_EQ(usage.WaitForExit(std::chrono::seconds(10)), 2);
  EXPECT_EQ(ReadFile(kLog),
            "The following arguments were not expected: 443 --port\n"
            "Run with --help for more information.\n");
}

TEST_F(ProxyServiceTest, AnswersHelpAndVersionWithoutStarting) {
  Shell(std::string("rm -f ") + kLog);
  Daemon version({AUTHPROXYD, "--version"}, kLog);
  EXPECT_EQ(version.WaitForExit(std::chrono::seconds(10)), 0);
  EXPECT_EQ(ReadFile(kLog), "quarry-authproxyd 1.0.0\n");

  Shell(std::string("rm -f ") + kLog);
  Daemon help({AUTHPROXYD, "--help"}, kLog);
  EXPECT_EQ(help.WaitForExit(std::chrono::seconds(10)), 0);
  const std::string text = ReadFile(kLog);
  EXPECT_EQ(text.rfind("The authentication proxy: creates computer accounts", 0),
            0u)
      << text;
  for (const char* option : {"-c,--config", "--foreground", "--version"}) {
    EXPECT_NE(text.find(option), std::string::npos) << option << "\n" << text;
  }
  EXPECT_NE(text.find("/etc/quarry/authproxyd.conf"), std::string::npos) << text;
}

}  // namespace
}  // namespace authproxy_test
