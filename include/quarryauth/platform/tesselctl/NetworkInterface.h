// One network interface of the host and its IP configuration.
#ifndef TESSELCTL_NETWORKINTERFACE_H
#define TESSELCTL_NETWORKINTERFACE_H

#include <string>

#include "Export.h"
#include "IpConfig.h"

namespace HostCtl {
namespace Network {

class TESSELCTL_EXPORT NetworkInterface {
 public:
  NetworkInterface(const std::string& name, const IpConfig& ipConfig);

  // The kernel's name of the interface, e.g. "eth0".
  const std::string& GetName() const;
  IpConfig GetIpConfig() const;

 private:
  std::string name_;
  IpConfig ipConfig_;
};

}  // namespace Network
}  // namespace HostCtl

#endif
