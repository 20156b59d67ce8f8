// The kernel's list of interface addresses (getifaddrs), owned for the
// time of one query. Internal to libtesselctl.
#ifndef TESSELCTL_INTERFACEADDRESSES_H
#define TESSELCTL_INTERFACEADDRESSES_H

#include <ifaddrs.h>

namespace TesselCtl {

class InterfaceAddresses {
 public:
  // Throws HostCtl::Lib::HostCtlException when the kernel cannot be asked.
  InterfaceAddresses();
  ~InterfaceAddresses();
  InterfaceAddresses(const InterfaceAddresses&) = delete;
  InterfaceAddresses& operator=(const InterfaceAddresses&) = delete;

  // The first entry of the list; follow ifa_next. Null when empty.
  const ifaddrs* First() const { return list_; }

 private:
  ifaddrs* list_;
};

}  // namespace TesselCtl

#endif
