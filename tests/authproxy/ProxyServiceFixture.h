// The fixture of the tests of quarry-authproxyd over HTTPS, asked through
// the quarrycam plug-in and with curl, before a domain controller: every
// request that passes the proxy's own checks meets a directory that never
// answers. Creating and resetting accounts is tested against a real one in
// tests/directory.
#ifndef QUARRYAUTH_TESTS_AUTHPROXY_PROXYSERVICEFIXTURE_H
#define QUARRYAUTH_TESTS_AUTHPROXY_PROXYSERVICEFIXTURE_H

#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "authproxy/ProxyHarness.h"
#include "support/Files.h"

namespace authproxy_test {

using quarry_test::Exists;
using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;

inline constexpr char kSettings[] = "/etc/quarry/authproxyd.conf";
inline constexpr char kLog[] = "/var/lib/authproxyd.log";
inline constexpr char kServicePassword[] = "Proxy-Secret-1";
inline constexpr char kServer[] = "127.0.0.1";

inline const std::string kBaseSettings =
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

}  // namespace authproxy_test

#endif
