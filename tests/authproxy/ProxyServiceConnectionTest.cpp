// The running proxy's connections and deadlines: clients outside the
// allowed networks, slow clients, a directory that never answers, and
// clients that give up while their request waits.
#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "authproxy/ProxyServiceFixture.h"

namespace authproxy_test {
namespace {

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

}  // namespace
}  // namespace authproxy_test
