// The host's network information: which interface is the management
// interface and what address it has.
#ifndef TESSELCTL_NETWORKINFOIMPL_H
#define TESSELCTL_NETWORKINFOIMPL_H

#include <memory>
#include <string>

#include "Export.h"
#include "NetworkInterface.h"

namespace TesselCtl {
namespace Network {

class TESSELCTL_EXPORT NetworkInfoImpl {
 public:
  // Reads the key "management-interface" of "/etc/quarry/network.conf". A
  // missing file, a missing key or an empty value leave the choice to the
  // kernel's interface list. Throws HostCtl::Lib::HostCtlException when the
  // file exists but cannot be read or is malformed.
  NetworkInfoImpl();

  // The interface named in network.conf (loopback included, up or not), or
  // else the first interface in the kernel's order that is up, is not
  // loopback and has an IPv4 address; with its primary IPv4 address as the
  // kernel reports it now. Throws HostCtl::Lib::HostCtlException when the
  // named interface does not exist or has no IPv4 address, or when no
  // interface qualifies.
  std::shared_ptr<HostCtl::Network::NetworkInterface> GetManagementInterface()
      const;

  // The name from network.conf; empty when none is configured.
  const std::string& GetConfiguredInterfaceName() const;

 private:
  std::string configuredName_;
};

}  // namespace Network
}  // namespace TesselCtl

#endif
