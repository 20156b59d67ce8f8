#include <quarryauth/platform/tesselctl/IpConfig.h>

namespace HostCtl {
namespace Network {

IpConfig::IpConfig(const Ipv4Address& ipv4Address)
    : ipv4Address_(ipv4Address) {}

Ipv4Address IpConfig::GetIpv4Address() const { return ipv4Address_; }

}  // namespace Network
}  // namespace HostCtl
