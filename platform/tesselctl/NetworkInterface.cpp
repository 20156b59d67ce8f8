#include <quarryauth/platform/tesselctl/NetworkInterface.h>

namespace HostCtl {
namespace Network {

NetworkInterface::NetworkInterface(const std::string& name,
                                   const IpConfig& ipConfig)
    : name_(name), ipConfig_(ipConfig) {}

const std::string& NetworkInterface::GetName() const { return name_; }

IpConfig NetworkInterface::GetIpConfig() const { return ipConfig_; }

}  // namespace Network
}  // namespace HostCtl
