// The proxy's configuration file: values, defaults and the exact texts of
// its faults.
#include <gtest/gtest.h>

#include "services/authproxyd/ProxySettings.h"
#include "support/Files.h"

namespace quarry::authproxyd {
namespace {

using quarry_test::WriteFile;

const char kPath[] = "/etc/quarry/authproxyd.conf";

const std::string kComplete =
    "certificate-file = \"/etc/quarry/proxy.pem\"\n"
    "key-file = \"/etc/quarry/proxy.key\"\n"
    "domain = \"ad.test\"\n"
    "service-user = \"svc-proxy\"\n"
    "password-file = \"/etc/quarry/proxy.secret\"\n"
    "allowed-networks = \"192.0.2.0/24  198.51.100.7\"\n";

std::string Fault(const std::string& text) {
  WriteFile(kPath, text);
  try {
    ReadProxySettings(kPath);
  } catch (const SettingsError& error) {
    return error.what();
  }
  return "(accepted)";
}

TEST(ProxySettingsTest, ReadsEveryValueAndFillsTheDefaults) {
  WriteFile(kPath, kComplete);
  const ProxySettings defaults = ReadProxySettings(kPath);
  EXPECT_EQ(defaults.listenAddress, "0.0.0.0");
  EXPECT_EQ(defaults.port, 443);
  EXPECT_EQ(defaults.certificateFile, "/etc/quarry/proxy.pem");
  EXPECT_EQ(defaults.keyFile, "/etc/quarry/proxy.key");
  EXPECT_EQ(defaults.domain, "ad.test");
  EXPECT_EQ(defaults.domainController, "");
  EXPECT_EQ(defaults.serviceUser, "svc-proxy");
  EXPECT_EQ(defaults.passwordFile, "/etc/quarry/proxy.secret");
  ASSERT_EQ(defaults.allowedNetworks.size(), 2u);
  EXPECT_TRUE(defaults.allowedNetworks[0].Contains(0xC00002FE));   // .254
  EXPECT_FALSE(defaults.allowedNetworks[0].Contains(0xC0000300));  // 192.0.3.0
  EXPECT_TRUE(defaults.allowedNetworks[1].Contains(0xC6336407));
  EXPECT_FALSE(defaults.allowedNetworks[1].Contains(0xC6336408));
  EXPECT_EQ(defaults.defaultContainer, "");
  EXPECT_EQ(defaults.baseContainer, "CN=Computers,DC=ad,DC=test");
  EXPECT_EQ(defaults.requestTimeoutSeconds, 30);
  EXPECT_EQ(defaults.directoryWorkers, 16);
  EXPECT_EQ(defaults.maxConnections, 64);
  EXPECT_EQ(defaults.receiveTimeoutSeconds, 10);

  WriteFile(kPath, kComplete +
                       "listen-address = \"198.51.100.10\"\nport = \"8443\"\n"
                       "domain-controller = \"dc1.ad.test\"\n"
                       "default-container = \"OU=Hosts,DC=ad,DC=test\"\n"
                       "request-timeout-seconds = \"5\"\n"
                       "directory-workers = \"64\"\n"
                       "max-connections = \"500\"\n"
                       "receive-timeout-seconds = \"3\"\n");
  const ProxySettings all = ReadProxySettings(kPath);
  EXPECT_EQ(all.listenAddress, "198.51.100.10");
  EXPECT_EQ(all.port, 8443);
  EXPECT_EQ(all.domainController, "dc1.ad.test");
  EXPECT_EQ(all.defaultContainer, "OU=Hosts,DC=ad,DC=test");
  // Without base-container the default container is the base.
  EXPECT_EQ(all.baseContainer, "OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(all.requestTimeoutSeconds, 5);
  EXPECT_EQ(all.directoryWorkers, 64);
  EXPECT_EQ(all.maxConnections, 500);
  EXPECT_EQ(all.receiveTimeoutSeconds, 3);
  // The time limit's older name still counts; the new one wins.
  WriteFile(kPath, kComplete + "adcli-timeout-seconds = \"7\"\n");
  EXPECT_EQ(ReadProxySettings(kPath).requestTimeoutSeconds, 7);
  WriteFile(kPath, kComplete + "adcli-timeout-seconds = \"7\"\n"
                               "request-timeout-seconds = \"9\"\n");
  EXPECT_EQ(ReadProxySettings(kPath).requestTimeoutSeconds, 9);

  WriteFile(kPath, kComplete +
                       "default-container = \"OU=Hosts,OU=Lab,DC=ad,DC=test\"\n"
                       "base-container = \"OU=Lab,DC=ad,DC=test\"\n");
  EXPECT_EQ(ReadProxySettings(kPath).baseContainer, "OU=Lab,DC=ad,DC=test");
}

TEST(ProxySettingsTest, KeepsTheDefaultContainerUnderTheBase) {
  EXPECT_EQ(Fault(kComplete + "base-container = \"Lab\"\n"),
            "/etc/quarry/authproxyd.conf: base-container \"Lab\" is not a "
            "distinguished name");
  EXPECT_EQ(Fault(kComplete + "base-container = \"OU=Lab,DC=ad,DC=test\"\n"),
            "/etc/quarry/authproxyd.conf: the default container "
            "\"CN=Computers,DC=ad,DC=test\" is not under base-container "
            "\"OU=Lab,DC=ad,DC=test\"");
  EXPECT_EQ(Fault(kComplete +
                  "default-container = \"OU=Hosts,DC=ad,DC=test\"\n"
                  "base-container = \"OU=Lab,DC=ad,DC=test\"\n"),
            "/etc/quarry/authproxyd.conf: the default container "
            "\"OU=Hosts,DC=ad,DC=test\" is not under base-container "
            "\"OU=Lab,DC=ad,DC=test\"");
}

TEST(ProxySettingsTest, NamesTheFileAndTheFault) {
  EXPECT_EQ(Fault(kComplete + "port = \"0\"\n"),
            "/etc/quarry/authproxyd.conf: port \"0\" is not a number from 1 "
            "to 65535");
  EXPECT_EQ(Fault(kComplete + "port = \"https\"\n"),
            "/etc/quarry/authproxyd.conf: port \"https\" is not a number from "
            "1 to 65535");
  EXPECT_EQ(Fault(kComplete + "listen-address = \"::\"\n"),
            "/etc/quarry/authproxyd.conf: listen-address \"::\" is not an "
            "IPv4 address");
  EXPECT_EQ(Fault(kComplete + "request-timeout-seconds = \"601\"\n"),
            "/etc/quarry/authproxyd.conf: request-timeout-seconds \"601\" is not "
            "a number from 1 to 600");
  EXPECT_EQ(Fault(kComplete + "directory-workers = \"0\"\n"),
            "/etc/quarry/authproxyd.conf: directory-workers \"0\" is not "
            "a number from 1 to 256");
  EXPECT_EQ(Fault(kComplete + "max-connections = \"1025\"\n"),
            "/etc/quarry/authproxyd.conf: max-connections \"1025\" is not "
            "a number from 1 to 1024");
  EXPECT_EQ(Fault(kComplete + "receive-timeout-seconds = \"0\"\n"),
            "/etc/quarry/authproxyd.conf: receive-timeout-seconds \"0\" is "
            "not a number from 1 to 600");
  EXPECT_EQ(Fault("allowed-networks = \"10.0.0.0/33\"\n" + kComplete),
            "/etc/quarry/authproxyd.conf: allowed-networks: \"10.0.0.0/33\" is "
            "not an IPv4 address or network");
  EXPECT_EQ(Fault("allowed-networks = \" \"\n" + kComplete),
            "/etc/quarry/authproxyd.conf: \"allowed-networks\" is not set");
  EXPECT_EQ(Fault("domain = \"ad..test\"\n" + kComplete),
            "/etc/quarry/authproxyd.conf: domain \"ad..test\" is not a DNS "
            "domain name");
  EXPECT_EQ(Fault(kComplete + "default-container = \"Hosts\"\n"),
            "/etc/quarry/authproxyd.conf: default-container \"Hosts\" is not a "
            "distinguished name");
  EXPECT_EQ(Fault(kComplete + "allowed-network = \"192.0.2.1\"\n"),
            "/etc/quarry/authproxyd.conf: unknown key \"allowed-network\"");
}

TEST(ProxySettingsTest, RequiresTheAccountTheDomainAndTheCertificate) {
  for (const char* key : {"certificate-file", "key-file", "domain",
                          "service-user", "password-file"}) {
    std::string text;
    std::istringstream lines(kComplete);
    std::string line;
    while (std::getline(lines, line)) {
      if (line.compare(0, std::string(key).size() + 1, std::string(key) + " ") != 0) {
        text += line + "\n";
      }
    }
    EXPECT_EQ(Fault(text), std::string("/etc/quarry/authproxyd.conf: \"") +
                               key + "\" is not set");
  }
}

TEST(ProxySettingsTest, ReportsUnreadableAndMalformedFiles) {
  EXPECT_EQ(Fault(kComplete + "port 443\n"),
            "/etc/quarry/authproxyd.conf: Error parsing configuration on line "
            "7: no delimiter found");
  EXPECT_EQ(Fault("domain = \"\n"),
            "/etc/quarry/authproxyd.conf: Error parsing configuration at line "
            "1: invalid quoting");
  try {
    ReadProxySettings("/etc/quarry/none.conf");
    ADD_FAILURE() << "a missing file was read";
  } catch (const SettingsError& error) {
    EXPECT_STREQ(error.what(),
                 "cannot read /etc/quarry/none.conf: No such file or directory");
  }
}

// The shipped sample explains itself in comments; the service reads it as
// installed.
TEST(ProxySettingsTest, ReadsTheShippedSampleWithItsComments) {
  const ProxySettings settings =
      ReadProxySettings(QUARRYAUTH_SOURCE_DIR
                        "/services/authproxyd/authproxyd.conf.sample");
  EXPECT_EQ(settings.domain, "ad.example.com");
  EXPECT_EQ(settings.serviceUser, "quarry-proxy");
  EXPECT_EQ(settings.domainController, "");
  EXPECT_EQ(settings.defaultContainer, "");
  EXPECT_EQ(settings.requestTimeoutSeconds, 30);
}

TEST(ProxySettingsTest, SkipsCommentLinesAndCountsThem) {
  EXPECT_EQ(Fault("# the proxy\n  # indented = \"too\"\n" + kComplete +
                  "port 443\n"),
            "/etc/quarry/authproxyd.conf: Error parsing configuration on line "
            "9: no delimiter found");
  // Only a line that begins with "#" is a comment.
  EXPECT_EQ(Fault(kComplete + "domain # x = \"ad.test\"\n"),
            "/etc/quarry/authproxyd.conf: unknown key \"domain # x\"");
}

}  // namespace
}  // namespace quarry::authproxyd
