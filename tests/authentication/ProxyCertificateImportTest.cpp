// Importing the authentication proxy's certificate: what is stored of it,
// and which certificates and stores fail.
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <syslog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/JoinSupport.h"
#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::LogLine;
using quarryauth_test::ReadFile;
using ::testing::ElementsAre;

std::string RunCommand(const std::string& command) {
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  char buffer[512];
  while (std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe)) {
    output.append(buffer, got);
  }
  if (::pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
  return output;
}

// Makes a self-signed certificate at path (PEM) and returns the SHA-1
// fingerprint that openssl prints for it.
std::string MakeCertificate(const std::string& path, const std::string& name) {
  RunCommand("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 "
      "-nodes -keyout " + path + ".key -out " + path + " -days 2 -subj /CN=" +
      name + " 2>/dev/null");
  std::string fingerprint =
      RunCommand("openssl x509 -noout -fingerprint -sha1 -in " + path);
  fingerprint = fingerprint.substr(fingerprint.find('=') + 1);
  fingerprint.erase(fingerprint.find_last_not_of("\n") + 1);
  return fingerprint;
}

class CertificateImport : public ::testing::Test {
 protected:
  void SetUp() override {
    quarryauth_test::InstallStandardPlugin();
    store_.reset(new qa::ActiveDirectoryStore(60));
  }
  std::unique_ptr<qa::ActiveDirectoryStore> store_;
};

TEST_F(CertificateImport, StoresTheOpensslFingerprintAndThePemText) {
  const std::string fingerprint =
      MakeCertificate("/etc/quarry/proxy.pem", "proxy.ad.test");
  const std::string pem = ReadFile("/etc/quarry/proxy.pem");
  store_->ImportCertificateForCAM(pem);
  qa::ActiveDirectoryConfigStore configStore;
  EXPECT_EQ(configStore.GetThumbprint(), fingerprint);
  EXPECT_EQ(configStore.GetThumbprint().size(), 59u);
  EXPECT_EQ(configStore.GetCertificate(), pem);
}

TEST_F(CertificateImport, SamePemTwiceStoresTheSameThumbprint) {
  const std::string fingerprint =
      MakeCertificate("/etc/quarry/proxy.pem", "proxy.ad.test");
  store_->ImportCertificateForCAM("/etc/quarry/proxy.pem", "ignored");
  store_->ImportCertificateForCAM("/etc/quarry/proxy.pem", "");
  EXPECT_EQ(qa::ActiveDirectoryConfigStore().GetThumbprint(), fingerprint);
}

TEST_F(CertificateImport, DerIsRefused) {
  MakeCertificate("/etc/quarry/proxy.pem", "proxy.ad.test");
  RunCommand("openssl x509 -in /etc/quarry/proxy.pem -outform der -out "
      "/etc/quarry/proxy.der");
  EXPECT_THROW(store_->ImportCertificateForCAM("/etc/quarry/proxy.der", ""),
               qa::InvalidCertificateException);
  EXPECT_THROW(qa::ActiveDirectoryConfigStore().GetThumbprint(),
               qa::ConfigurationError);
}

TEST_F(CertificateImport, TextWithoutCertificateIsRefused) {
  try {
    store_->ImportCertificateForCAM(std::string("not a certificate"));
    FAIL();
  } catch (const qa::InvalidCertificateException& error) {
    EXPECT_STREQ(error.what(),
                 "The certificate format is invalid; only PEM format is "
                 "supported.");
  }
}

TEST_F(CertificateImport, MissingFileIsFileNotFound) {
  EXPECT_THROW(store_->ImportCertificateForCAM("/etc/quarry/none.pem", ""),
               qa::FileNotFoundException);
}

TEST_F(CertificateImport, NewCertificateReplacesTheOld) {
  MakeCertificate("/etc/quarry/a.pem", "a");
  const std::string second = MakeCertificate("/etc/quarry/b.pem", "b");
  store_->ImportCertificateForCAM("/etc/quarry/a.pem", "");
  store_->ImportCertificateForCAM("/etc/quarry/b.pem", "");
  EXPECT_EQ(qa::ActiveDirectoryConfigStore().GetThumbprint(), second);
}

TEST_F(CertificateImport, StoreFailureIsLoggedAndRaised) {
  MakeCertificate("/etc/quarry/proxy.pem", "proxy.ad.test");
  quarryauth_test::BreakConfigurationStore();
  std::string message;
  try {
    store_->ImportCertificateForCAM("/etc/quarry/proxy.pem", "");
    FAIL();
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    message = error.what();
  }
  EXPECT_THAT(CapturedLog(),
              ElementsAre(LogLine{LOG_ERR,
                                  "Failed to store thumbprint to Config "
                                  "Store: " + message}));
}

}  // namespace
