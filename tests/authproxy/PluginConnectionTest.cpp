// The quarrycam plug-in against servers that are not a working proxy:
// nobody listening, no route, a listener that never answers or answers too
// slowly, answers that are not TLS or not the proxy's JSON, and its own
// settings.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>
#include <thread>

#include "authproxy/ProxyHarness.h"
#include "common/OpenSslHandles.h"
#include "common/UniqueFd.h"
#include "support/Files.h"

namespace authproxy_test {
namespace {

using quarry::common::UniqueFd;
using quarry_test::ReadFile;
using quarry_test::WriteFile;

const char kPluginSettings[] = "/etc/quarry/quarrycam.conf";

// A listening socket on 127.0.0.1:port that accepts nothing by itself.
UniqueFd Listen(int port) {
  UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int yes = 1;
  ::setsockopt(fd.Get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(fd.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(fd.Get(), 4) != 0) {
    throw std::runtime_error("cannot listen");
  }
  return fd;
}

TEST(PluginConnectionTest, ReportsARefusedConnection) {
  const CamPlugin plugin;
  const CamPlugin::Domain domain = plugin.GetDomainInfo("127.0.0.1", false, "");
  EXPECT_EQ(domain.result, 1225u);
  EXPECT_FALSE(domain.stringsReturned);
  const CamPlugin::Account account =
      plugin.CreateMachineAccount("127.0.0.1", "node1.ad.test", "", true, "AB");
  EXPECT_EQ(account.result, 1225u);
  EXPECT_FALSE(account.stringsReturned);
}

// Asks 127.0.0.1 for the domain with a reply time-out of one second (set by
// the caller) and expects the plug-in to give up with 10060 once it passes.
void ExpectTimeOutAfterOneSecond() {
  const CamPlugin plugin;
  const auto started = std::chrono::steady_clock::now();
  const CamPlugin::Domain domain = plugin.GetDomainInfo("127.0.0.1", false, "");
  const auto took = std::chrono::steady_clock::now() - started;
  EXPECT_EQ(domain.result, 10060u);
  EXPECT_FALSE(domain.stringsReturned);
  EXPECT_GE(took, std::chrono::milliseconds(900));
  EXPECT_LT(took, std::chrono::seconds(4));
}

TEST(PluginConnectionTest, GivesUpOnAServerThatNeverAnswers) {
  WriteFile(kPluginSettings, "port = \"4443\"\nreply-timeout-seconds = \"1\"\n");
  const UniqueFd listener = Listen(4443);  // the kernel completes the connection
  ExpectTimeOutAfterOneSecond();
}

TEST(PluginConnectionTest, RefusesAnAnswerThatIsNotTls) {
  const UniqueFd listener = Listen(443);
  std::thread server([&listener] {
    const UniqueFd client(::accept(listener.Get(), nullptr, nullptr));
    const char junk[] = "220 smtp.ad.test ESMTP ready\r\n";
    (void)!::write(client.Get(), junk, sizeof junk - 1);
    char buffer[1024];
    (void)!::read(client.Get(), buffer, sizeof buffer);
  });
  const CamPlugin plugin;
  const CamPlugin::Domain domain = plugin.GetDomainInfo("127.0.0.1", false, "");
  server.join();
  EXPECT_EQ(domain.result, 1229u);
  EXPECT_FALSE(domain.stringsReturned);
}

TEST(PluginConnectionTest, RefusesATlsServerThatIsNotTheProxy) {
  MakeCertificate("other");
  Daemon webServer({"openssl", "s_server", "-accept", "443", "-cert",
                    "/etc/quarry/other.pem", "-key", "/etc/quarry/other.key",
                    "-www", "-quiet"},
                   "/var/lib/s_server.log");
  ASSERT_TRUE(WaitForPort("127.0.0.1", 443, std::chrono::seconds(10)));
  const CamPlugin plugin;
  const std::string thumbprint = OpensslThumbprint("/etc/quarry/other.pem");
  const CamPlugin::Domain domain =
      plugin.GetDomainInfo("127.0.0.1", true, thumbprint);
  EXPECT_EQ(domain.result, 1229u) << ReadFile("/var/lib/s_server.log");
  EXPECT_FALSE(domain.stringsReturned);
}

TEST(PluginConnectionTest, ReportsAnUnreachableNetwork) {
  // The test's network has no route to the documentation network.
  const CamPlugin plugin;
  const CamPlugin::Domain domain = plugin.GetDomainInfo("192.0.2.1", false, "");
  EXPECT_EQ(domain.result, 1231u);
  EXPECT_FALSE(domain.stringsReturned);
}

// A TLS server that accepts one connection, reads the request and then
// sends its answer one byte at a time, each well within a read's time-out:
// only a deadline for the whole exchange stops the plug-in waiting.
class DrippingServer {
 public:
  explicit DrippingServer(int port) : listener_(Listen(port)) {
    MakeCertificate("dripping");
    thread_ = std::thread([this] { Serve(); });
  }
  ~DrippingServer() {
    stop_ = true;
    ::shutdown(listener_.Get(), SHUT_RDWR);
    thread_.join();
  }

 private:
  void Serve() {
    const quarry::common::SslContextPointer context(
        SSL_CTX_new(TLS_server_method()));
    if (!context ||
        SSL_CTX_use_certificate_file(context.get(), "/etc/quarry/dripping.pem",
                                     SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context.get(), "/etc/quarry/dripping.key",
                                    SSL_FILETYPE_PEM) != 1) {
      return;
    }
    const UniqueFd client(::accept(listener_.Get(), nullptr, nullptr));
    if (!client.Valid()) return;
    const quarry::common::SslPointer ssl(SSL_new(context.get()));
    SSL_set_fd(ssl.get(), client.Get());
    if (SSL_accept(ssl.get()) != 1) return;
    char request[4096];
    if (SSL_read(ssl.get(), request, sizeof request) <= 0) return;
    const std::string answer =
        "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
        "Content-Length: 64\r\n\r\n";
    for (std::size_t sent = 0; !stop_ && sent < answer.size(); ++sent) {
      if (SSL_write(ssl.get(), answer.data() + sent, 1) != 1) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
  }

  UniqueFd listener_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

TEST(PluginConnectionTest, GivesUpOnAnAnswerThatDripsPastTheReplyTimeOut) {
  WriteFile(kPluginSettings, "port = \"4443\"\nreply-timeout-seconds = \"1\"\n");
  const DrippingServer server(4443);
  ExpectTimeOutAfterOneSecond();
}

TEST(PluginConnectionTest, RefusesUnusableSettingsOfItsOwn) {
  const CamPlugin plugin;
  for (const char* settings : {"port = \"https\"\n", "port = \"70000\"\n",
                               "reply-timeout-seconds = \"0\"\n", "port\n"}) {
    WriteFile(kPluginSettings, settings);
    EXPECT_EQ(plugin.GetDomainInfo("127.0.0.1", false, "").result, 1610u)
        << settings;
  }
  WriteFile(kPluginSettings, "port = \"4443\"\n");
  EXPECT_EQ(plugin.GetDomainInfo("127.0.0.1", false, "").result, 1225u);
  EXPECT_EQ(plugin.GetDomainInfo("cam.ad.test", false, "").result, 87u);
}

}  // namespace
}  // namespace authproxy_test
