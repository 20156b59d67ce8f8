// What the proxy accepts before it asks the directory anything: client
// addresses, host names and containers.
#include <gtest/gtest.h>

#include "services/authproxyd/AccountRules.h"
#include "services/authproxyd/ComputerAccounts.h"
#include "services/authproxyd/HostNameRules.h"
#include "services/authproxyd/Ipv4Network.h"
#include "services/authproxyd/LdapDirectory.h"

namespace quarry::authproxyd {
namespace {

std::vector<Ipv4Network> Networks(std::initializer_list<const char*> texts) {
  std::vector<Ipv4Network> networks;
  for (const char* text : texts) networks.push_back(*Ipv4Network::Parse(text));
  return networks;
}

TEST(RequestRulesTest, AllowsOnlyClientsInsideTheNetworks) {
  const auto networks = Networks({"198.51.100.0/24", "192.0.2.7"});
  EXPECT_TRUE(IsAllowedClient(networks, "198.51.100.1"));
  EXPECT_TRUE(IsAllowedClient(networks, "198.51.100.255"));
  EXPECT_TRUE(IsAllowedClient(networks, "::ffff:198.51.100.9"));
  EXPECT_TRUE(IsAllowedClient(networks, "192.0.2.7"));
  EXPECT_FALSE(IsAllowedClient(networks, "192.0.2.8"));
  EXPECT_FALSE(IsAllowedClient(networks, "198.51.101.1"));
  EXPECT_FALSE(IsAllowedClient(networks, "::1"));
  EXPECT_FALSE(IsAllowedClient(networks, ""));
  EXPECT_TRUE(IsAllowedClient(Networks({"0.0.0.0/0"}), "203.0.113.4"));
  EXPECT_FALSE(IsAllowedClient({}, "127.0.0.1"));
}

TEST(RequestRulesTest, ParsesNetworksStrictly) {
  EXPECT_TRUE(Ipv4Network::Parse("10.1.2.3/8")->Contains(0x0A000001));
  for (const char* bad : {"10.0.0.0/33", "10.0.0.0/", "10.0.0/8", "10.0.0.0/a",
                          "10.0.0.256", "::1", "::ffff:10.0.0.1", "host", ""}) {
    EXPECT_FALSE(Ipv4Network::Parse(bad).has_value()) << bad;
  }
}

TEST(RequestRulesTest, AcceptsFullyQualifiedHostNamesOnly) {
  EXPECT_TRUE(IsValidHostName("node1.ad.test"));
  EXPECT_TRUE(IsValidHostName("esx-01.Lab.Example.com"));
  EXPECT_TRUE(IsValidHostName("abcdefghijklmno.ad.test"));  // 15 characters
  for (const char* bad :
       {"node1", "abcdefghijklmnop.ad.test", "-node1.ad.test", "node1-.ad.test",
        "node_1.ad.test", "node1..ad.test", ".ad.test", "node1.ad.test.",
        "node 1.ad.test", "node1.ad.test;reboot", "", "--help.ad.test"}) {
    EXPECT_FALSE(IsValidHostName(bad)) << bad;
  }
  EXPECT_FALSE(IsValidHostName("a." + std::string(64, 'b') + ".test"));
  std::string long_name = "a";
  while (long_name.size() < 254) long_name += ".bcdefghij";
  EXPECT_FALSE(IsValidHostName(long_name));
}

TEST(RequestRulesTest, AcceptsDistinguishedNamesAsContainers) {
  EXPECT_TRUE(IsPlausibleContainer("OU=Hosts,DC=ad,DC=test"));
  EXPECT_FALSE(IsPlausibleContainer("Hosts"));
  EXPECT_FALSE(IsPlausibleContainer("=Hosts"));
  EXPECT_FALSE(IsPlausibleContainer("OU="));
  EXPECT_FALSE(IsPlausibleContainer("OU=Hosts\n,DC=ad"));
  EXPECT_FALSE(IsPlausibleContainer(""));
  EXPECT_FALSE(IsPlausibleContainer("OU=" + std::string(1100, 'x')));
}

TEST(RequestRulesTest, AcceptsOnlyNamesInTheProxysDomain) {
  EXPECT_TRUE(IsNameInDomain("node1.ad.test", "ad.test"));
  EXPECT_TRUE(IsNameInDomain("NODE1.AD.Test", "ad.TEST"));
  EXPECT_TRUE(IsNameInDomain("node1.lab.ad.test", "ad.test"));
  for (const char* other : {"node1.bad.test", "node1.ad.test.evil", "ad.test",
                            "node1.evil.example", "node1.xad.test"}) {
    EXPECT_FALSE(IsNameInDomain(other, "ad.test")) << other;
  }
}

TEST(RequestRulesTest, ComparesContainersPartByPart) {
  const std::string base = "OU=Hypervisors,DC=ad,DC=test";
  EXPECT_TRUE(IsWithinContainer(base, base));
  EXPECT_TRUE(IsWithinContainer("OU=Lab,OU=Hypervisors,DC=ad,DC=test", base));
  EXPECT_TRUE(IsWithinContainer("ou = lab , ou=HYPERVISORS,dc=AD, dc=test", base));
  for (const char* outside :
       {"OU=Domain Controllers,DC=ad,DC=test", "DC=ad,DC=test",
        "OU=XHypervisors,DC=ad,DC=test", "OU=Lab\\,OU=Hypervisors,DC=ad,DC=test",
        "OU=Hypervisors,DC=ad,DC=test,DC=evil", ""}) {
    EXPECT_FALSE(IsWithinContainer(outside, base)) << outside;
  }
  // An escaped comma is part of a value, not a boundary.
  EXPECT_TRUE(IsWithinContainer("OU=a\\,b,OU=Old\\, Hosts,DC=ad",
                                "OU=Old\\, Hosts,DC=ad"));
  EXPECT_FALSE(IsWithinContainer("OU=x,DC=ad", ""));
}

TEST(RequestRulesTest, ComparesWholeNamesAndFindsTheirParent) {
  EXPECT_TRUE(IsSameDN("CN=svc,CN=Users,DC=ad,DC=test",
                       "cn = SVC, cn=users,dc=AD,dc=test"));
  EXPECT_FALSE(IsSameDN("CN=svc,CN=Users,DC=ad,DC=test", "CN=Users,DC=ad,DC=test"));
  EXPECT_FALSE(IsSameDN("CN=Users,DC=ad,DC=test", "CN=svc,CN=Users,DC=ad,DC=test"));
  EXPECT_FALSE(IsSameDN("", ""));
  EXPECT_FALSE(IsSameDN("CN=svc,DC=ad", ""));
  EXPECT_EQ(ParentDN("CN=NODE1,OU=Old\\, Hosts,DC=ad,DC=test"),
            "OU=Old\\, Hosts,DC=ad,DC=test");
  EXPECT_EQ(ParentDN("CN=a\\,b,DC=test"), "DC=test");
  EXPECT_EQ(ParentDN("DC=test"), "");
}

TEST(RequestRulesTest, WritesSecurityIdentifiersAsText) {
  // S-1-5-21-1560714432-4041253460-2393576878 as the directory keeps it.
  const std::string binary(
      "\x01\x04\x00\x00\x00\x00\x00\x05\x15\x00\x00\x00"
      "\xc0\x9c\x06\x5d\x54\xa2\xe0\xf0\xae\x15\xab\x8e",
      24);
  EXPECT_EQ(SidText(binary), "S-1-5-21-1560714432-4041253460-2393576878");
  EXPECT_EQ(SidText(binary.substr(0, 20)), "");
  EXPECT_EQ(SidText(std::string("\x02") + binary.substr(1)), "");
  EXPECT_EQ(SidText(""), "");
  EXPECT_EQ(ComputerNameOf("averyverylongname1.ad.test"), "AVERYVERYLONGNA");
  EXPECT_EQ(ComputerNameOf("node1.ad.test"), "NODE1");
}

}  // namespace
}  // namespace quarry::authproxyd
