// IPv4 networks in CIDR form ("192.0.2.0/24"; a bare address is a /32),
// for the list of clients that may ask the proxy for accounts.
#ifndef QUARRY_AUTHPROXYD_IPV4NETWORK_H
#define QUARRY_AUTHPROXYD_IPV4NETWORK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quarry::authproxyd {

// An address in host byte order, or nothing when text is not a dotted
// IPv4 address. An IPv4-mapped IPv6 address ("::ffff:192.0.2.1") counts as
// its IPv4 address.
std::optional<uint32_t> ParseIpv4Address(const std::string& text);

class Ipv4Network {
 public:
  // Nothing when text is neither an address nor address/prefix (0 to 32).
  static std::optional<Ipv4Network> Parse(const std::string& text);

  bool Contains(uint32_t address) const;
  uint32_t network() const { return network_; }  // host byte order
  uint32_t mask() const { return mask_; }

 private:
  Ipv4Network(uint32_t network, uint32_t mask) : network_(network), mask_(mask) {}
  uint32_t network_;
  uint32_t mask_;
};

// True when the client's address text lies in one of the networks.
bool IsAllowedClient(const std::vector<Ipv4Network>& networks,
                     const std::string& clientAddress);

}  // namespace quarry::authproxyd

#endif
