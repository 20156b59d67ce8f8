#include <quarryauth/platform/tesselctl/NetworkInfoImpl.h>

#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <map>

#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include "platform/tesselctl/InterfaceAddresses.h"
#include "platform/tesselctl/SettingsFile.h"

namespace TesselCtl {
namespace Network {

namespace {

using HostCtl::Network::IpConfig;
using HostCtl::Network::Ipv4Address;
using HostCtl::Network::NetworkInterface;

const char kNetworkSettingsPath[] = "/etc/quarry/network.conf";
const char kManagementInterfaceKey[] = "management-interface";

bool HasIpv4Address(const ifaddrs* entry) {
  return entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET;
}

Ipv4Address AddressOf(const ifaddrs* entry) {
  const sockaddr_in* address =
      reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
  return Ipv4Address::FromNetworkOrder(address->sin_addr.s_addr);
}

std::shared_ptr<NetworkInterface> MakeInterface(const ifaddrs* entry) {
  return std::make_shared<NetworkInterface>(entry->ifa_name,
                                            IpConfig(AddressOf(entry)));
}

// The kernel lists an interface's primary address before its secondaries.
std::shared_ptr<NetworkInterface> FindNamed(const std::string& name) {
  const InterfaceAddresses addresses;
  bool exists = false;
  for (const ifaddrs* entry = addresses.First(); entry != nullptr;
       entry = entry->ifa_next) {
    if (name != entry->ifa_name) continue;
    exists = true;
    if (HasIpv4Address(entry)) return MakeInterface(entry);
  }
  // getifaddrs lists every link once (AF_PACKET), addresses or not.
  if (!exists) {
    throw HostCtl::Lib::HostCtlException("The management interface '" + name +
                                         "' does not exist");
  }
  throw HostCtl::Lib::HostCtlException("The management interface '" + name +
                                       "' has no IPv4 address");
}

std::shared_ptr<NetworkInterface> FindDefault() {
  const InterfaceAddresses addresses;
  for (const ifaddrs* entry = addresses.First(); entry != nullptr;
       entry = entry->ifa_next) {
    const bool up = (entry->ifa_flags & IFF_UP) != 0;
    const bool loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0;
    if (up && !loopback && HasIpv4Address(entry)) return MakeInterface(entry);
  }
  throw HostCtl::Lib::HostCtlException(
      "No management interface: no interface other than loopback is up with "
      "an IPv4 address");
}

}  // namespace

NetworkInfoImpl::NetworkInfoImpl() {
  std::map<std::string, std::string> settings;
  ReadSettingsFile(kNetworkSettingsPath, settings);
  const auto found = settings.find(kManagementInterfaceKey);
  if (found != settings.end()) configuredName_ = found->second;
}

std::shared_ptr<NetworkInterface> NetworkInfoImpl::GetManagementInterface()
    const {
  if (!configuredName_.empty()) return FindNamed(configuredName_);
  return FindDefault();
}

const std::string& NetworkInfoImpl::GetConfiguredInterfaceName() const {
  return configuredName_;
}

}  // namespace Network
}  // namespace TesselCtl
