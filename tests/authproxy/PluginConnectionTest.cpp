// The quarrycam plug-in against servers that are not a working proxy:
// nobody listening, a listener that never answers, answers that are not TLS
// or not the proxy's JSON, and its own settings.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "authproxy/ProxyHarness.h"
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

TEST(PluginConnectionTest, GivesUpOnAServerThatNeverAnswers) {
  WriteFile(kPluginSettings, "port = \"4443\"\nreply-timeout-seconds = \"1\"\n");
  const UniqueFd listener = Listen(4443);  // the kernel completes the connection
  const CamPlugin plugin;
  const auto started = std::chrono::steady_clock::now();
  const CamPlugin::Domain domain = plugin.GetDomainInfo("127.0.0.1", false, "");
  const auto took = std::chrono::steady_clock::now() - started;
  EXPECT_EQ(domain.result, 10060u);
  EXPECT_FALSE(domain.stringsReturned);
  EXPECT_GE(took, std::chrono::milliseconds(900));
  EXPECT_LT(took, std::chrono::seconds(4));
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
