// An IPv4 address of the host, kept in network byte order.
#ifndef TESSELCTL_IPV4ADDRESS_H
#define TESSELCTL_IPV4ADDRESS_H

#include <cstdint>
#include <string>

#include "Export.h"

namespace HostCtl {
namespace Network {

class TESSELCTL_EXPORT Ipv4Address {
 public:
  // 0.0.0.0.
  Ipv4Address();
  // Throws HostCtl::Lib::HostCtlException unless IsValidAddress(text).
  explicit Ipv4Address(const std::string& text);

  static Ipv4Address FromNetworkOrder(uint32_t value);

  // True only for a strict dotted quad: four decimal numbers from 0 to 255
  // without leading zeros, nothing before, between or after them.
  static bool IsValidAddress(const std::string& text);

  // The dotted quad, e.g. "192.0.2.10".
  std::string GetStringAddress() const;
  uint32_t GetNetworkOrder() const { return networkOrder_; }

  bool operator==(const Ipv4Address& other) const {
    return networkOrder_ == other.networkOrder_;
  }
  bool operator!=(const Ipv4Address& other) const { return !(*this == other); }

 private:
  uint32_t networkOrder_;
};

}  // namespace Network
}  // namespace HostCtl

#endif
