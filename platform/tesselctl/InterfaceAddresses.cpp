#include "platform/tesselctl/InterfaceAddresses.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <quarryauth/platform/tesselctl/HostCtlException.h>

namespace TesselCtl {

InterfaceAddresses::InterfaceAddresses() : list_(nullptr) {
  if (::getifaddrs(&list_) != 0) {
    throw HostCtl::Lib::HostCtlException(
        std::string("Unable to list the network interfaces: ") +
        std::strerror(errno));
  }
}

InterfaceAddresses::~InterfaceAddresses() {
  if (list_ != nullptr) ::freeifaddrs(list_);
}

}  // namespace TesselCtl
