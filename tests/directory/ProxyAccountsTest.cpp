// The accounts that quarry-authproxyd creates in a Samba domain: the
// domain's identity, accounts marked as the proxy's and usable with their
// one-time password, resets of its own accounts only, two instances side
// by side, the directory's refusal, and no password on any command line or
// in any environment while it works.
#include <gtest/gtest.h>
#include <dirent.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>

#include "common/FileContents.h"
#include "directory/ProxyDomain.h"
#include "support/Files.h"

namespace authproxy_test {
namespace {

using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

using ProxyAccountsTest = ProxyDomainTest;

const char kAdministratorDN[] = "CN=Administrator,CN=Users,DC=ad,DC=test";

// The value of a string member of a flat JSON object, as the proxy writes
// it (no escapes in the values read here).
std::string Member(const std::string& json, const std::string& name) {
  const std::string key = "\"" + name + "\":\"";
  const std::string::size_type start = json.find(key);
  if (start == std::string::npos) return std::string();
  const std::string::size_type from = start + key.size();
  return json.substr(from, json.find('"', from) - from);
}

// The domain's computer accounts, as samba-tool lists them.
std::string ComputerList() {
  Shell(kSambaDc + " tool " + kDcDirectory +
        " computer list > /var/lib/quarry-test-computers.txt");
  return ReadFile("/var/lib/quarry-test-computers.txt");
}

std::string UserAttribute(const std::string& name, const std::string& attribute) {
  Shell(kSambaDc + " tool " + kDcDirectory + " user show " + name +
        " --attributes=" + attribute + " > /var/lib/quarry-test-user.out 2>&1");
  const std::string text = ReadFile("/var/lib/quarry-test-user.out");
  const std::string key = "\n" + attribute + ": ";
  const std::string::size_type line = text.find(key);
  if (line == std::string::npos) return std::string();
  const std::string::size_type start = line + key.size();
  return text.substr(start, text.find('\n', start) - start);
}

// Reads the command line and environment of every process, over and over,
// until stopped, and keeps every distinct text it saw.
class ProcessSampler {
 public:
  ProcessSampler() : thread_([this] { Sample(); }) {}
  ~ProcessSampler() { Stop(); }

  void Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

  // Whether any sample held text.
  bool Saw(const std::string& text) const {
    for (const std::string& seen : seen_) {
      if (seen.find(text) != std::string::npos) return true;
    }
    return false;
  }

 private:
  void Sample() {
    while (!stop_) {
      DIR* proc = ::opendir("/proc");
      if (proc == nullptr) return;
      while (dirent* entry = ::readdir(proc)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
        for (const char* part : {"/cmdline", "/environ"}) {
          // A process may end while it is read (ESRCH): nothing to keep.
          std::string text;
          quarry::common::ReadFileContents(
              std::string("/proc/") + entry->d_name + part, text);
          if (!text.empty()) seen_.insert(text);
        }
      }
      ::closedir(proc);
    }
  }

  std::atomic<bool> stop_{false};
  std::set<std::string> seen_;
  std::thread thread_;
};

TEST_F(ProxyAccountsTest, AnswersTheDomainsIdentity) {
  const std::string administrator = UserAttribute("Administrator", "objectSid");
  ASSERT_EQ(administrator.substr(administrator.size() - 4), "-500");
  const auto answer = AskProxy("", "quarrycam", "/api/v1/domain");
  EXPECT_EQ(answer.first, "200") << answer.second << ReadFile(kProxyLog);
  EXPECT_EQ(answer.second,
            "{\"dnsName\":\"ad.test\",\"netbiosName\":\"AD\",\"sid\":\"" +
                administrator.substr(0, administrator.size() - 4) + "\"}");
}

// Services often run with SIGCHLD ignored; the proxy works the same.
TEST_F(ProxyAccountsTest, CreatesAMarkedAccountAndResetsOnlyItsOwn) {
  proxy_.reset();
  StartProxy(true);
  const auto created = AskProxy("{\"hostName\":\"node1.ad.test\"}");
  ASSERT_EQ(created.first, "200") << created.second << ReadFile(kProxyLog);
  EXPECT_EQ(Member(created.second, "dn"), "CN=NODE1,CN=Computers,DC=ad,DC=test");
  const std::string first = Member(created.second, "oneTimePassword");
  EXPECT_EQ(first.size(), 24u);
  EXPECT_EQ(ComputerAttribute("NODE1", "managedBy"), kAdministratorDN);
  EXPECT_EQ(ComputerAttribute("NODE1", "dNSHostName"), "node1.ad.test");
  EXPECT_EQ(ComputerAttribute("NODE1", "userAccountControl"), "4096");
  EXPECT_TRUE(KerberosLogon("NODE1$@AD.TEST", first));
  const std::string guid = ComputerAttribute("NODE1", "objectGUID");

  // Its own account: reset in place with a fresh password.
  const auto reset = AskProxy("{\"hostName\":\"node1.ad.test\"}");
  ASSERT_EQ(reset.first, "200") << reset.second;
  const std::string second = Member(reset.second, "oneTimePassword");
  EXPECT_NE(second, first);
  EXPECT_EQ(ComputerAttribute("NODE1", "objectGUID"), guid);
  EXPECT_FALSE(KerberosLogon("NODE1$@AD.TEST", first));
  EXPECT_TRUE(KerberosLogon("NODE1$@AD.TEST", second));

  // An account that an administrator made, under the base container, is
  // not the proxy's: 409, and the account keeps its identity.
  Shell(kSambaDc + " tool " + kDcDirectory + " computer create NODE2 > /dev/null");
  const std::string node2 = ComputerAttribute("NODE2", "objectGUID");
  MakeHostCertificate("node2.ad.test");
  Shell(std::string(AUTHPROXYD) +
        " enroll node2.ad.test --certificate /etc/quarry/node2.ad.test.pem > /dev/null");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node2.ad.test\"}", "node2.ad.test"),
            std::make_pair(
                std::string("409"),
                std::string("{\"error\":\"the computer account for "
                            "node2.ad.test exists as CN=NODE2,CN=Computers,"
                            "DC=ad,DC=test and was not created by this proxy "
                            "(its managedBy does not name the proxy's service "
                            "account CN=Administrator,CN=Users,DC=ad,DC=test); "
                            "the proxy does not reset it\"}")));
  EXPECT_EQ(ComputerAttribute("NODE2", "objectGUID"), node2);
  EXPECT_EQ(ComputerAttribute("NODE2", "managedBy"), "");
  EXPECT_EQ(proxy_->Stop(), 0);
  const std::string log = ReadFile(kProxyLog);
  EXPECT_NE(log.find(" for node2.ad.test) a computer account for "
                     "node2.ad.test: the computer account for node2.ad.test "
                     "exists as CN=NODE2,CN=Computers,DC=ad,DC=test and was "
                     "not created by this proxy"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find(first), std::string::npos);
  EXPECT_EQ(log.find(second), std::string::npos);
  EXPECT_EQ(log.find(kAdminPassword), std::string::npos);
}

// The proxy keeps its state in the directory: a second instance with the
// same settings serves the same hosts, and resets the first one's accounts.
TEST_F(ProxyAccountsTest, ServesHostsThroughTwoInstancesSideBySide) {
  Shell("sed 's/^listen-address.*/&\\nport = \"8443\"/' /etc/quarry/authproxyd.conf"
        " > /etc/quarry/authproxyd-2.conf");
  const std::unique_ptr<Daemon> second = StartProxyProcess(
      "/etc/quarry/authproxyd-2.conf", "/var/lib/authproxyd-2.log", 8443);
  const auto created = AskProxy("{\"hostName\":\"node1.ad.test\"}");
  ASSERT_EQ(created.first, "200") << created.second;
  const auto reset = AskProxy("{\"hostName\":\"node1.ad.test\"}", "quarrycam",
                              "/api/v1/computers", 8443);
  ASSERT_EQ(reset.first, "200") << reset.second << ReadFile("/var/lib/authproxyd-2.log");
  EXPECT_TRUE(KerberosLogon("NODE1$@AD.TEST", Member(reset.second, "oneTimePassword")));
  EXPECT_EQ(AskProxy("", "quarrycam", "/api/v1/domain", 8443).first, "200");
}

TEST_F(ProxyAccountsTest, ReportsTheDirectorysRefusalAndChangesNothing) {
  WriteFile("/etc/quarry/authproxyd.secret", "not-the-password\n");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node1.ad.test\"}"),
            std::make_pair(std::string("502"),
                           std::string("{\"error\":\"cannot log in to the "
                                       "domain as Administrator@AD.TEST: "
                                       "Preauthentication failed\"}")));
  EXPECT_EQ(ComputerDN("NODE1"), "");
  // The password file is read for every request: a corrected one serves.
  WriteFile("/etc/quarry/authproxyd.secret", std::string(kAdminPassword) + "\n");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node1.ad.test\"}").first, "200");
}

// Neither the one-time password nor the service account's password may be
// seen by another local user: sampled from every process's command line
// and environment while the proxy creates an account and while the host
// joins through it.
TEST_F(ProxyAccountsTest, KeepsEveryPasswordOffCommandLinesAndEnvironments) {
  ASSERT_EQ(RunCtl(std::string("import-proxy-cert ") + kProxyCertificate).exitStatus, 0);
  ProcessSampler sampler;
  const auto created = AskProxy("{\"hostName\":\"node1.ad.test\"}");
  ASSERT_EQ(created.first, "200") << created.second;
  const CtlResult joined = RunCtl(std::string("join-proxy ") + kProxy);
  ASSERT_EQ(joined.exitStatus, 0) << joined.err << ReadFile(kProxyLog);
  sampler.Stop();
  // The sampler saw the processes at work.
  EXPECT_TRUE(sampler.Saw("quarry-authproxyd"));
  EXPECT_TRUE(sampler.Saw("join-proxy"));
  EXPECT_FALSE(sampler.Saw(Member(created.second, "oneTimePassword")));
  EXPECT_FALSE(sampler.Saw(kAdminPassword));
  EXPECT_FALSE(sampler.Saw("one-time-password"));
}

// curl from this host with arguments: status code, then body.
std::pair<std::string, std::string> Curl(const std::string& arguments) {
  Shell("curl -sk --max-time 60 -o /var/lib/quarry-test-curl.body -w '%{http_code}' " +
        arguments + " > /var/lib/quarry-test-curl.code");
  return {ReadFile("/var/lib/quarry-test-curl.code"),
          ReadFile("/var/lib/quarry-test-curl.body")};
}

// Every kind of bad request gets its answer and leaves the directory as it
// was: no account made, none changed.
TEST_F(ProxyAccountsTest, BadRequestsChangeNothingInTheDirectory) {
  Shell(kSambaDc + " tool " + kDcDirectory + " computer create NODE2 > /dev/null");
  for (const char* host : {"node2.ad.test", "node3.ad.test", "node4.ad.test",
                           "node9.bad.test"}) {
    MakeHostCertificate(host);
  }
  for (const char* host : {"node2.ad.test", "node4.ad.test"}) {
    Shell(std::string(AUTHPROXYD) + " enroll " + host +
          " --certificate /etc/quarry/" + host + ".pem > /dev/null");
  }
  // The tool enrols names in the domain only; this one is written by hand.
  Shell("echo '" + OpensslSha256Thumbprint("/etc/quarry/node9.bad.test.pem") +
        " = \"node9.bad.test\"' >> /etc/quarry/authproxyd.enrolled");
  Shell(std::string(AUTHPROXYD) + " revoke node4.ad.test > /dev/null");
  const std::string computers = ComputerList();
  const std::string node2 = ComputerAttribute("NODE2", "uSNChanged");
  ASSERT_FALSE(node2.empty());

  const std::string post = "-X POST https://198.51.100.10/api/v1/computers ";
  const std::string node1Identity =
      "--cert /etc/quarry/quarrycam.pem --key /etc/quarry/quarrycam.key ";
  EXPECT_EQ(Curl(post + "-d '{\"hostName\":\"node1.ad.test\"}'").first, "403");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node3.ad.test\"}", "node3.ad.test").first,
            "403");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node4.ad.test\"}", "node4.ad.test").first,
            "403");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node2.ad.test\"}"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"this client's certificate "
                                       "is enrolled for node1.ad.test, not "
                                       "node2.ad.test\"}")));
  EXPECT_EQ(AskProxy("{\"hostName\":\"node9.bad.test\"}", "node9.bad.test"),
            std::make_pair(std::string("403"),
                           std::string("{\"error\":\"\\\"node9.bad.test\\\" is "
                                       "not a name in the domain ad.test\"}")));
  EXPECT_EQ(AskProxy("{\"hostName\":\"node1.ad.test\",\"container\":"
                     "\"OU=Domain Controllers,DC=ad,DC=test\"}")
                .first,
            "403");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node2.ad.test\"}", "node2.ad.test").first,
            "409");
  WriteFile("/var/lib/quarry-test-large.json",
            "{\"hostName\":\"node1.ad.test\",\"pad\":\"" +
                std::string(17000, 'x') + "\"}");
  EXPECT_EQ(Curl(post + node1Identity +
                 "--data-binary @/var/lib/quarry-test-large.json")
                .first,
            "413");
  EXPECT_EQ(AskProxy("{\"hostName\": node1").first, "400");
  EXPECT_EQ(AskProxy("{\"hostName\":\"node1\"}").first, "400");

  // From an address outside allowed-networks no connection is made at all.
  Shell("ip addr add 198.51.100.2/24 dev qdc0");
  EXPECT_EQ(std::system(("curl -sk --connect-timeout 2 -o /dev/null --interface "
                         "198.51.100.2 " + node1Identity + post +
                         "-d '{\"hostName\":\"node1.ad.test\"}'")
                            .c_str()),
            28 << 8);

  EXPECT_EQ(ComputerList(), computers);
  EXPECT_EQ(ComputerAttribute("NODE2", "uSNChanged"), node2);
  EXPECT_EQ(ComputerDN("NODE1"), "");
}

// Hosts with a certificate that a trusted authority issued are served for
// the name it was issued for, without being enrolled.
TEST_F(ProxyAccountsTest, ServesHostsWhoseAuthorityItTrusts) {
  MakeAuthorityIssuedCertificate("node5.ad.test");
  proxy_.reset();
  Shell("echo 'client-ca-file = \"/etc/quarry/hosts-ca.pem\"' >> "
        "/etc/quarry/authproxyd.conf");
  StartProxy();
  const auto created = AskProxy("{\"hostName\":\"node5.ad.test\"}", "node5.ad.test");
  EXPECT_EQ(created.first, "200") << created.second << ReadFile(kProxyLog);
  EXPECT_EQ(ComputerDN("NODE5"), "CN=NODE5,CN=Computers,DC=ad,DC=test");
  EXPECT_TRUE(KerberosLogon("NODE5$@AD.TEST", Member(created.second, "oneTimePassword")));
  EXPECT_EQ(AskProxy("{\"hostName\":\"node6.ad.test\"}", "node5.ad.test").first, "403");
  EXPECT_EQ(ComputerDN("NODE6"), "");
}

// A domain controller that stops answering: the client is answered at its
// deadline, and the work, when the controller answers again later,
// creates nothing.
TEST_F(ProxyAccountsTest, CreatesNothingAfterTheClientsReplyLimit) {
  proxy_.reset();
  Shell("echo 'request-timeout-seconds = \"3\"' >> /etc/quarry/authproxyd.conf");
  StartProxy();
  Shell(kSambaDc + " pause " + kDcDirectory);
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(AskProxy("{\"hostName\":\"node1.ad.test\"}"),
            std::make_pair(std::string("504"),
                           std::string("{\"error\":\"the directory did not "
                                       "answer within 3 seconds\"}")));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(6));
  Shell(kSambaDc + " resume " + kDcDirectory);
  // The work under way ends with its own failure once the controller is
  // back (or the Kerberos library gives up on it).
  const std::string request = "computer account node1.ad.test for ";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  std::string log;
  for (;;) {
    log = ReadFile(kProxyLog);
    const std::string::size_type first = log.find(request);
    if (first != std::string::npos &&
        log.find(request, first + 1) != std::string::npos) {
      break;
    }
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << log;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  EXPECT_EQ(ComputerDN("NODE1"), "");
  EXPECT_EQ(log.find("created computer account"), std::string::npos) << log;
}

}  // namespace
}  // namespace authproxy_test
