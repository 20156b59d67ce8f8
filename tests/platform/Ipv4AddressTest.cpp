#include <arpa/inet.h>

#include <string>

#include <gtest/gtest.h>

#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include <quarryauth/platform/tesselctl/IpConfig.h>
#include <quarryauth/platform/tesselctl/Ipv4Address.h>

#include "ExceptionText.h"

namespace {

using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;

TEST(Ipv4Address, AcceptsDottedQuads) {
  EXPECT_TRUE(Ipv4Address::IsValidAddress("192.0.2.10"));
  EXPECT_TRUE(Ipv4Address::IsValidAddress("0.0.0.0"));
  EXPECT_TRUE(Ipv4Address::IsValidAddress("255.255.255.255"));
  EXPECT_TRUE(Ipv4Address::IsValidAddress("127.0.0.1"));
}

TEST(Ipv4Address, RefusesEverythingElse) {
  const std::string invalid[] = {
      "",         "1.2.3",     "1.2.3.4.5", "256.1.1.1", "1.2.3.256",
      "01.2.3.4", " 1.2.3.4",  "1.2.3.4 ",  "a.b.c.d",   "0x1.2.3.4",
      "1..2.3",   "1.2.3.",    "::1",       "ad.test",   "1.2.3.4/24",
      "-1.2.3.4", "1.2.3.4:80"};
  for (const std::string& text : invalid) {
    EXPECT_FALSE(Ipv4Address::IsValidAddress(text)) << "'" << text << "'";
  }
}

TEST(Ipv4Address, RefusesTextAfterAnEmbeddedNul) {
  const std::string text("192.0.2.1\0junk", 14);
  EXPECT_FALSE(Ipv4Address::IsValidAddress(text));
}

TEST(Ipv4Address, PrintsWhatItParsed) {
  EXPECT_EQ("192.0.2.10", Ipv4Address("192.0.2.10").GetStringAddress());
  EXPECT_EQ("0.0.0.0", Ipv4Address().GetStringAddress());
  EXPECT_EQ("255.255.255.255",
            Ipv4Address("255.255.255.255").GetStringAddress());
}

TEST(Ipv4Address, KeepsNetworkByteOrder) {
  const Ipv4Address address = Ipv4Address::FromNetworkOrder(htonl(0xC000020A));
  EXPECT_EQ("192.0.2.10", address.GetStringAddress());
  EXPECT_EQ(htonl(0xC000020A), address.GetNetworkOrder());
  EXPECT_EQ(Ipv4Address("192.0.2.10"), address);
  EXPECT_NE(Ipv4Address("192.0.2.11"), address);
}

TEST(Ipv4Address, ConstructorRefusesInvalidText) {
  EXPECT_EQ("'node1.ad.test' is not a valid IPv4 address",
            quarry::test::ExceptionText<HostCtl::Lib::HostCtlException>(
                [] { Ipv4Address address("node1.ad.test"); }));
}

TEST(IpConfig, HandsOutItsAddress) {
  const IpConfig config(Ipv4Address("198.51.100.7"));
  EXPECT_EQ("198.51.100.7", config.GetIpv4Address().GetStringAddress());
}

}  // namespace
