#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include <quarryauth/platform/tesselctl/NetworkInfoImpl.h>

#include "ExceptionText.h"
#include "SandboxSupport.h"

namespace {

using TesselCtl::Network::NetworkInfoImpl;
namespace qt = quarry::test;

const char kNetworkConf[] = "/etc/quarry/network.conf";

// An interface with an optional address, brought up or left down.
void AddInterface(const std::string& name, const std::string& address,
                  bool up) {
  ASSERT_TRUE(qt::AddInterface(name));
  if (!address.empty()) {
    ASSERT_EQ(0, qt::Run("ip addr add " + address + " dev " + name));
  }
  if (up) {
    ASSERT_EQ(0, qt::Run("ip link set " + name + " up"));
  }
}

std::string ManagementAddress() {
  NetworkInfoImpl network;
  return network.GetManagementInterface()
      ->GetIpConfig()
      .GetIpv4Address()
      .GetStringAddress();
}

std::string ManagementError() {
  return qt::ExceptionText<HostCtl::Lib::HostCtlException>([] {
    NetworkInfoImpl network;
    network.GetManagementInterface();
  });
}

std::string ConstructionError() {
  return qt::ExceptionText<HostCtl::Lib::HostCtlException>(
      [] { NetworkInfoImpl network; });
}

TEST(NetworkInfo, UsesLoopbackWhenNamed) {
  qt::WriteFile(kNetworkConf, "management-interface = \"lo\"\n");
  NetworkInfoImpl network;
  EXPECT_EQ("lo", network.GetConfiguredInterfaceName());
  const auto interface = network.GetManagementInterface();
  ASSERT_TRUE(interface);
  EXPECT_EQ("lo", interface->GetName());
  EXPECT_EQ("127.0.0.1",
            interface->GetIpConfig().GetIpv4Address().GetStringAddress());
}

TEST(NetworkInfo, UsesTheNamedInterfaceOverTheDefault) {
  AddInterface("mgmt0", "192.0.2.10/24", true);
  AddInterface("mgmt1", "198.51.100.20/24", true);
  qt::WriteFile(kNetworkConf, "management-interface = mgmt1\n");
  NetworkInfoImpl network;
  const auto interface = network.GetManagementInterface();
  EXPECT_EQ("mgmt1", interface->GetName());
  EXPECT_EQ("198.51.100.20",
            interface->GetIpConfig().GetIpv4Address().GetStringAddress());
}

TEST(NetworkInfo, TakesThePrimaryAddressOfTheNamedInterface) {
  AddInterface("mgmt0", "", false);
  ASSERT_EQ(0, qt::Run("ip addr add 192.0.2.10/24 dev mgmt0 && "
                       "ip addr add 192.0.2.11/24 dev mgmt0"));
  qt::WriteFile(kNetworkConf, "management-interface = \"mgmt0\"\n");
  EXPECT_EQ("192.0.2.10", ManagementAddress());
}

TEST(NetworkInfo, DefaultsToTheFirstInterfaceThatIsUpWithIpv4) {
  AddInterface("down0", "203.0.113.5/24", false);
  AddInterface("bare0", "", true);
  AddInterface("mgmt0", "192.0.2.10/24", true);
  AddInterface("mgmt1", "198.51.100.20/24", true);
  NetworkInfoImpl network;
  EXPECT_EQ("", network.GetConfiguredInterfaceName());
  const auto interface = network.GetManagementInterface();
  EXPECT_EQ("mgmt0", interface->GetName());
  EXPECT_EQ("192.0.2.10",
            interface->GetIpConfig().GetIpv4Address().GetStringAddress());
}

TEST(NetworkInfo, DefaultsWhenTheFileHasNoSuchKey) {
  AddInterface("mgmt0", "192.0.2.10/24", true);
  qt::WriteFile(kNetworkConf,
                "other-key = \"lo\"\nmanagement-interface = \"\"\n");
  EXPECT_EQ("192.0.2.10", ManagementAddress());
}

TEST(NetworkInfo, ReadsTheAddressFromTheKernelWhenAsked) {
  AddInterface("mgmt0", "192.0.2.10/24", true);
  NetworkInfoImpl network;
  ASSERT_EQ(0, qt::Run("ip addr flush dev mgmt0 && "
                       "ip addr add 192.0.2.99/24 dev mgmt0"));
  EXPECT_EQ("192.0.2.99", network.GetManagementInterface()
                              ->GetIpConfig()
                              .GetIpv4Address()
                              .GetStringAddress());
}

TEST(NetworkInfo, RefusesWhenOnlyLoopbackIsUp) {
  AddInterface("down0", "203.0.113.5/24", false);
  EXPECT_EQ(
      "No management interface: no interface other than loopback is up with "
      "an IPv4 address",
      ManagementError());
}

TEST(NetworkInfo, RefusesANamedInterfaceThatDoesNotExist) {
  qt::WriteFile(kNetworkConf, "management-interface = \"eth9\"\n");
  EXPECT_EQ("The management interface 'eth9' does not exist",
            ManagementError());
}

TEST(NetworkInfo, RefusesANamedInterfaceWithoutIpv4) {
  AddInterface("mgmt0", "", true);
  ASSERT_EQ(0, qt::Run("ip -6 addr add 2001:db8::10/64 dev mgmt0 nodad"));
  qt::WriteFile(kNetworkConf, "management-interface = \"mgmt0\"\n");
  EXPECT_EQ("The management interface 'mgmt0' has no IPv4 address",
            ManagementError());
}

TEST(NetworkInfo, RefusesAMalformedSettingsFile) {
  qt::WriteFile(kNetworkConf,
                "# management network\nmanagement-interface = lo\n");
  EXPECT_EQ(
      "Unable to read '/etc/quarry/network.conf': Error parsing "
      "configuration on line 1: no delimiter found",
      ConstructionError());
  qt::WriteFile(kNetworkConf, "\nmanagement-interface = \"\n");
  EXPECT_EQ(
      "Unable to read '/etc/quarry/network.conf': Error parsing "
      "configuration at line 2: invalid quoting",
      ConstructionError());
}

TEST(NetworkInfo, RefusesASettingsFileThatCannotBeRead) {
  ASSERT_EQ(0, qt::Run("mkdir /etc/quarry/network.conf"));
  EXPECT_EQ("Unable to read '/etc/quarry/network.conf': Is a directory",
            ConstructionError());
}

}  // namespace
