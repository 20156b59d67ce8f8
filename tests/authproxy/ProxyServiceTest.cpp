// quarry-authproxyd over HTTPS, asked through the quarrycam plug-in and
// with curl, before a domain controller: every request that passes the
// proxy's own checks meets a directory that never answers. Creating and
// resetting accounts is tested against a real one in tests/directory.
#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <thread>
#include <vector>

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
const char kServicePassword[] = "Proxy-Secret-1";
const char kServer[] = "127.0.0.1";

const std::string kBaseSettings =
    "listen-address = \"127.0.0.1\"\n"
    "certificate-file = \"/etc/quarry/authproxyd.pem\"\n"
    "key-file = \"/etc/quarry/authproxyd.key\"\n"
    "domain = \"ad.test\"\n"
    "service-user = \"svc-proxy\"\n"
    "password-file = \"/etc/quarry/authproxyd.secret\"\n";

// Stands in for the domain's Kerberos service on 127.0.0.1:88 (UDP and
// TCP): counts what reaches it and never answers. Closed, it refuses, so
// that the proxy's login gives up at once.
class SilentDirectory {
 public:
  SilentDirectory() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(88);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    datagrams_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    stream_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(stream_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    if (::bind(datagrams_, any, sizeof address) != 0 ||
        ::bind(stream_, any, sizeof address) != 0 || ::listen(stream_, 64) != 0) {
      ADD_FAILURE() << "cannot listen on 127.0.0.1:88";
    }
    thread_ = std::thread([this] { Listen(); });
  }
  ~SilentDirectory() { Close(); }

  int Contacts() const { return contacts_; }

  void Close() {
    if (!thread_.joinable()) return;
    stop_ = true;
    thread_.join();
    for (const int fd : held_) ::close(fd);
    ::close(stream_);
    ::close(datagrams_);
  }

 private:
  void Listen() {
    while (!stop_) {
      pollfd fds[] = {{datagrams_, POLLIN, 0}, {stream_, POLLIN, 0}};
      if (::poll(fds, 2, 50) <= 0) continue;
      if (fds[0].revents & POLLIN) {
        char datagram[4096];
        if (::recv(datagrams_, datagram, sizeof datagram, 0) >= 0) ++contacts_;
      }
      if (fds[1].revents & POLLIN) {
        const int connection = ::accept4(stream_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
          held_.push_back(connection);
          ++contacts_;
        }
      }
    }
  }

  int datagrams_ = -1;
  int stream_ = -1;
  std::atomic<bool> stop_{false};
  std::atomic<int> contacts_{0};
  std::vector<int> held_;
  std::thread thread_;
};

// A socket closed when it goes.
class UniqueSocket {
 public:
  explicit UniqueSocket(int fd) : fd_(fd) {}
  UniqueSocket(UniqueSocket&& other) : fd_(other.fd_) { other.fd_ = -1; }
  ~UniqueSocket() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const { return fd_; }

 private:
  int fd_;
};

// A TCP connection to the proxy from source, begun without waiting.
UniqueSocket ConnectFrom(const char* source) {
  UniqueSocket socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  ::inet_pton(AF_INET, source, &address.sin_addr);
  EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  address.sin_port = htons(443);
  ::inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
  ::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
  return socket;
}

// Whether the connection is established, given up to half a second.
bool IsConnected(int socket) {
  pollfd wanted = {socket, POLLOUT, 0};
  if (::poll(&wanted, 1, 500) != 1) return false;
  int error = 0;
  socklen_t length = sizeof error;
  ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length);
  return error == 0;
}

// Whether the peer closes the connection within limit.
bool WaitForClose(int socket, std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < deadline) {
    pollfd wanted = {socket, POLLIN, 0};
    if (::poll(&wanted, 1, 100) == 1) {
      char byte;
      const ssize_t got = ::recv(socket, &byte, 1, 0);
      if (got == 0 || (got < 0 && errno != EAGAIN)) return true;
    }
  }
  return false;
}

class ProxyServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteFile("/etc/krb5.conf",
              "[libdefaults]\n  default_realm = AD.TEST\n  dns_lookup_kdc = false\n"
              "[realms]\n  AD.TEST = {\n    kdc = 127.0.0.1\n  }\n");
    directory_.reset(new SilentDirectory);
    MakeCertificate("authproxyd");
    thumbprint_ = OpensslThumbprint("/etc/quarry/authproxyd.pem");
    WriteFile("/etc/quarry/authproxyd.secret",
              std::string(kServicePassword) + "\n");
    ::chmod("/etc/quarry/authproxyd.secret", 0600);
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

  void TearDown() override {
    // The directory refuses first, so that no login waits for it.
    directory_->Close();
    proxy_.reset();
  }

  // Starts the proxy and waits until it serves: by connecting, or, when
  // this host may not connect, by its log.
  void StartProxy(bool reachable = true) {
    Enroll("node1.ad.test");
    proxy_.reset(new Daemon({AUTHPROXYD, "-c", kSettings, "--foreground"},
                            kLog));
    if (reachable) {
      ASSERT_TRUE(WaitForPort(kServer, 443, std::chrono::seconds(10)))
          << ReadFile(kLog);
      return;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!Exists(kLog) || ReadFile(kLog).find("serving domain") == std::string::npos) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << ReadFile(kLog);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  // Whether any request reached the directory.
  bool Reached() const { return directory_->Contacts() > 0; }

  // Stops the proxy once the directory refuses; its exit status.
  int StopProxy() {
    directory_->Close();
    return proxy_->Stop();
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
  std::unique_ptr<SilentDirectory> directory_;
  std::unique_ptr<Daemon> proxy_;
};

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

// A client outside the allowed networks never gets a connection: the
// kernel drops its packets before any handshake.
TEST_F(ProxyServiceTest, RefusesClientsOutsideTheAllowedNetworks) {
  Configure("", "192.0.2.0/24 198.51.100.7");
  StartProxy(false);
  WriteFile("/etc/quarry/quarrycam.conf", "connect-timeout-seconds = \"1\"\n");
  const CamPlugin::Domain domain = plugin_.GetDomainInfo(kServer, true, thumbprint_);
  EXPECT_EQ(domain.result, 10060u);
  EXPECT_FALSE(domain.stringsReturned);
  const CamPlugin::Account account = plugin_.CreateMachineAccount(
      kServer, "node1.ad.test", "", true, thumbprint_);
  EXPECT_EQ(account.result, 10060u);
  EXPECT_FALSE(account.stringsReturned);
  // curl gives up on connecting: status 28, no HTTP answer.
  EXPECT_EQ(std::system("curl -sk --connect-timeout 1 -o /dev/null "
                        "https://127.0.0.1/api/v1/domain"),
            28 << 8);
  EXPECT_FALSE(Reached());
  EXPECT_EQ(StopProxy(), 0);
  // Nothing reached the service to be logged.
  EXPECT_EQ(ReadFile(kLog).find("refused"), std::string::npos) << ReadFile(kLog);
}

// Slow clients cannot hold the proxy: those outside the allowed networks
// never get a connection, and an allowed one that does not deliver its
// request in time is cut off.
TEST_F(ProxyServiceTest, SlowClientsDelayNobody) {
  Configure("max-connections = \"2\"\nreceive-timeout-seconds = \"2\"\n",
            "127.0.0.1");
  StartProxy();
  std::vector<UniqueSocket> outsiders;
  for (int i = 0; i < 8; ++i) outsiders.push_back(ConnectFrom("127.0.0.2"));
  const auto started = std::chrono::steady_clock::now();
  host_.clear();
  EXPECT_EQ(Curl("https://127.0.0.1/api/v1/domain").first, "403");
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));
  for (const UniqueSocket& outsider : outsiders) {
    EXPECT_FALSE(IsConnected(outsider.get()));
  }
  // An allowed client that says nothing is shut out after the receive
  // limit, counted from its connection; the others are served meanwhile.
  const auto connected = std::chrono::steady_clock::now();
  const UniqueSocket silent = ConnectFrom("127.0.0.1");
  EXPECT_TRUE(IsConnected(silent.get()));
  EXPECT_EQ(Curl("https://127.0.0.1/api/v1/domain").first, "403");
  EXPECT_TRUE(WaitForClose(silent.get(), std::chrono::seconds(5)));
  const auto held = std::chrono::steady_clock::now() - connected;
  EXPECT_GE(held, std::chrono::milliseconds(1900));
  EXPECT_LT(held, std::chrono::milliseconds(3500));
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

// A directory that never answers: each request is answered at its
// deadline, counted from its arrival; work that waited past its deadline
// is never started; the proxy's own refusals wait for nothing.
TEST_F(ProxyServiceTest, AnswersInTimeWhenTheDirectoryIsSilent) {
  Configure("request-timeout-seconds = \"1\"\ndirectory-workers = \"1\"\n");
  StartProxy();
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(plugin_.GetDomainInfo(kServer, true, thumbprint_).result, 10060u);
  EXPECT_TRUE(Reached());
  // The one worker is still waiting for the directory; this request queues
  // behind it and is answered at its own deadline.
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node1.ad.test\"}' "
                 "https://127.0.0.1/api/v1/computers"),
            std::make_pair(std::string("504"),
                           std::string("{\"error\":\"the directory did not "
                                       "answer within 1 seconds\"}")));
  const auto refusalStarted = std::chrono::steady_clock::now();
  EXPECT_EQ(Curl("-X POST -d '{\"hostName\":\"node2.ad.test\"}' "
                 "https://127.0.0.1/api/v1/computers").first,
            "403");
  EXPECT_LT(std::chrono::steady_clock::now() - refusalStarted,
            std::chrono::milliseconds(900));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
  EXPECT_EQ(StopProxy(), 0);
  const std::string log = ReadFile(kLog);
  EXPECT_NE(log.find("domain information for 127.0.0.1 (certificate " +
                     OpensslSha256Thumbprint("/etc/quarry/node1.ad.test.pem") +
                     " for node1.ad.test) failed: the directory did not answer "
                     "within 1 seconds"),
            std::string::npos)
      << log;
  // The queued request was never started: nothing logged in to the
  // directory for it, and no account was asked for.
  EXPECT_EQ(log.find("created computer account"), std::string::npos) << log;
}

// A client that gives up while its request waits for a worker: the work
// is never started once a worker is free.
TEST_F(ProxyServiceTest, NeverStartsTheWorkOfAClientThatHasGone) {
  Configure("request-timeout-seconds = \"20\"\ndirectory-workers = \"1\"\n");
  StartProxy();
  const std::string asks = "curl -sk --max-time 1 -o /dev/null --cert "
                           "/etc/quarry/node1.ad.test.pem --key "
                           "/etc/quarry/node1.ad.test.key ";
  // The first request holds the one worker at the silent directory.
  EXPECT_EQ(std::system((asks + "https://127.0.0.1/api/v1/domain").c_str()), 28 << 8);
  EXPECT_TRUE(Reached());
  // The second waits behind it; its client gives up after a second.
  EXPECT_EQ(std::system((asks + "-X POST -d '{\"hostName\":\"node1.ad.test\"}' "
                                "https://127.0.0.1/api/v1/computers")
                            .c_str()),
            28 << 8);
  // The directory now refuses at once, which frees the worker.
  directory_->Close();
  const std::string skipped =
      "computer account node1.ad.test for 127.0.0.1 (certificate " +
      OpensslSha256Thumbprint("/etc/quarry/node1.ad.test.pem") +
      " for node1.ad.test) not started: the client has gone";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
  while (ReadFile(kLog).find(skipped) == std::string::npos &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(StopProxy(), 0);
  const std::string log = ReadFile(kLog);
  EXPECT_NE(log.find(skipped), std::string::npos) << log;
  EXPECT_EQ(log.find("computer account node1.ad.test for 127.0.0.1 (certificate " +
                     OpensslSha256Thumbprint("/etc/quarry/node1.ad.test.pem") +
                     " for node1.ad.test) failed"),
            std::string::npos)
      << log;
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
