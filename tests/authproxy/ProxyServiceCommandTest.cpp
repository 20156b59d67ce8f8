// quarry-authproxyd's command line: enrolling, listing and revoking hosts,
// refusing to start with unusable settings, and --help and --version.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <string>

#include "authproxy/ProxyServiceFixture.h"

namespace authproxy_test {
namespace {

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
