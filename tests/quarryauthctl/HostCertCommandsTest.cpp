// "host-cert": the host's key and certificate for the authentication proxy.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quarryauthctl/ToolHarness.h"

namespace quarryauthctl_test {
namespace {

const char kKey[] = "/etc/quarry/quarrycam.key";
const char kCertificate[] = "/etc/quarry/quarrycam.pem";
const char kRequest[] = "/etc/quarry/quarrycam.csr";

unsigned Mode(const char* path) {
  struct stat status;
  return ::stat(path, &status) == 0 ? status.st_mode & 07777 : 010000;
}

// What openssl says of a file (one line).
std::string Openssl(const std::string& arguments) {
  Shell("openssl " + arguments + " > /var/lib/openssl.out 2>&1");
  std::string text = ReadFile("/var/lib/openssl.out");
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

TEST(HostCertCommandsTest, CreatesAKeyAndACertificateRequest) {
  const ToolResult made =
      RunTool({"host-cert", "create", "--name", "node1.ad.test"});
  ASSERT_EQ(made.exitStatus, 0) << made.err;
  EXPECT_EQ(made.out,
            "Created the host key /etc/quarry/quarrycam.key.\n"
            "Wrote a certificate request for node1.ad.test to "
            "/etc/quarry/quarrycam.csr; have an authority that the proxy "
            "trusts sign it, and put the certificate in "
            "/etc/quarry/quarrycam.pem.\n");
  EXPECT_EQ(Mode(kKey), 0600u);
  EXPECT_EQ(Openssl(std::string("req -in ") + kRequest + " -noout -verify -subject"),
            "Certificate request self-signature verify OK\n"
            "subject=CN = node1.ad.test");
  EXPECT_EQ(::access(kCertificate, F_OK), -1);
  // The key is kept when asked again.
  const std::string key = ReadFile(kKey);
  ASSERT_EQ(RunTool({"host-cert", "create", "--name", "node1.ad.test"}).exitStatus, 0);
  EXPECT_EQ(ReadFile(kKey), key);
}

TEST(HostCertCommandsTest, CreatesASelfSignedCertificateAndShowsItsThumbprint) {
  const ToolResult made = RunTool(
      {"host-cert", "create", "--self-signed", "--name", "node1.ad.test"});
  ASSERT_EQ(made.exitStatus, 0) << made.err;
  const std::string fingerprint =
      Openssl(std::string("x509 -in ") + kCertificate + " -noout -fingerprint -sha256");
  const std::string thumbprint = fingerprint.substr(fingerprint.find('=') + 1);
  EXPECT_EQ(made.out,
            "Created the host key /etc/quarry/quarrycam.key.\n"
            "Created the host certificate /etc/quarry/quarrycam.pem for "
            "node1.ad.test; its thumbprint is " + thumbprint + ".\n"
            "Enrol it on the proxy: quarry-authproxyd enroll node1.ad.test "
            "--thumbprint " + thumbprint + "\n");
  EXPECT_EQ(Openssl(std::string("x509 -in ") + kCertificate +
                    " -noout -subject -ext subjectAltName,extendedKeyUsage"),
            "subject=CN = node1.ad.test\n"
            "X509v3 Subject Alternative Name: \n    DNS:node1.ad.test\n"
            "X509v3 Extended Key Usage: \n    TLS Web Client Authentication");
  const ToolResult shown = RunTool({"host-cert", "thumbprint"});
  EXPECT_EQ(shown.exitStatus, 0);
  EXPECT_EQ(shown.out, thumbprint + "\n");

  // An existing certificate is replaced only when asked.
  const ToolResult again = RunTool(
      {"host-cert", "create", "--self-signed", "--name", "node1.ad.test"});
  EXPECT_EQ(again.exitStatus, 1);
  EXPECT_EQ(again.err,
            "quarryauthctl: the host certificate /etc/quarry/quarrycam.pem "
            "exists; add --replace to make a new one (the proxy must then "
            "enrol its new thumbprint)\n");
  const ToolResult replaced = RunTool({"host-cert", "create", "--self-signed",
                                       "--replace", "--name", "node1.ad.test"});
  EXPECT_EQ(replaced.exitStatus, 0) << replaced.err;
  EXPECT_NE(RunTool({"host-cert", "thumbprint"}).out, thumbprint + "\n");
}

TEST(HostCertCommandsTest, UsesThePathsOfThePluginsSettings) {
  WriteFile("/etc/quarry/quarrycam.conf",
            "certificate-file = \"/etc/quarry/host.crt\"\n"
            "key-file = \"/etc/quarry/host.key\"\n");
  ASSERT_EQ(RunTool({"host-cert", "create", "--self-signed", "--name",
                     "node1.ad.test"})
                .exitStatus,
            0);
  EXPECT_EQ(Mode("/etc/quarry/host.key"), 0600u);
  EXPECT_EQ(Mode("/etc/quarry/host.crt"), 0644u);
  EXPECT_EQ(::access(kKey, F_OK), -1);
  ASSERT_EQ(RunTool({"host-cert", "create", "--name", "node1.ad.test"}).exitStatus, 0);
  EXPECT_EQ(::access("/etc/quarry/host.csr", F_OK), 0);
}

TEST(HostCertCommandsTest, RefusesBadNamesAndExplainsAMissingCertificate) {
  const ToolResult badName =
      RunTool({"host-cert", "create", "--name", "node1"});
  EXPECT_EQ(badName.exitStatus, 2);
  EXPECT_EQ(badName.err,
            "quarryauthctl: the host name 'node1' is not a DNS name such as "
            "ad.example.com: it has one label only\n");
  EXPECT_EQ(::access(kKey, F_OK), -1);
  const ToolResult missing = RunTool({"host-cert", "thumbprint"});
  EXPECT_EQ(missing.exitStatus, 3);
  EXPECT_EQ(missing.err,
            "quarryauthctl: there is no host certificate "
            "/etc/quarry/quarrycam.pem; create one with 'quarryauthctl "
            "host-cert create'\n");
}

}  // namespace
}  // namespace quarryauthctl_test
