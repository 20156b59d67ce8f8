// The IP configuration of one network interface.
#ifndef TESSELCTL_IPCONFIG_H
#define TESSELCTL_IPCONFIG_H

#include "Export.h"
#include "Ipv4Address.h"

namespace HostCtl {
namespace Network {

class TESSELCTL_EXPORT IpConfig {
 public:
  explicit IpConfig(const Ipv4Address& ipv4Address);

  // The interface's primary IPv4 address, as the kernel reported it.
  Ipv4Address GetIpv4Address() const;

 private:
  Ipv4Address ipv4Address_;
};

}  // namespace Network
}  // namespace HostCtl

#endif
