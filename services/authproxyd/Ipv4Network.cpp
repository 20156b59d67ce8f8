#include "services/authproxyd/Ipv4Network.h"

#include <arpa/inet.h>

namespace quarry::authproxyd {

std::optional<uint32_t> ParseIpv4Address(const std::string& text) {
  static const std::string kMappedPrefix = "::ffff:";
  const std::string dotted = text.compare(0, kMappedPrefix.size(),
                                          kMappedPrefix) == 0
                                 ? text.substr(kMappedPrefix.size())
                                 : text;
  in_addr address{};
  // inet_pton accepts exactly four decimal parts, unlike inet_aton.
  if (::inet_pton(AF_INET, dotted.c_str(), &address) != 1) return std::nullopt;
  return ntohl(address.s_addr);
}

std::optional<Ipv4Network> Ipv4Network::Parse(const std::string& text) {
  const std::string::size_type slash = text.find('/');
  const std::optional<uint32_t> address = ParseIpv4Address(text.substr(0, slash));
  if (!address || text.find(':') != std::string::npos) return std::nullopt;
  int prefix = 32;
  if (slash != std::string::npos) {
    const std::string digits = text.substr(slash + 1);
    if (digits.empty() || digits.size() > 2 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
      return std::nullopt;
    }
    prefix = std::stoi(digits);
    if (prefix > 32) return std::nullopt;
  }
  const uint32_t mask = prefix == 0 ? 0 : ~uint32_t{0} << (32 - prefix);
  return Ipv4Network(*address & mask, mask);
}

bool Ipv4Network::Contains(uint32_t address) const {
  return (address & mask_) == network_;
}

bool IsAllowedClient(const std::vector<Ipv4Network>& networks,
                     const std::string& clientAddress) {
  const std::optional<uint32_t> address = ParseIpv4Address(clientAddress);
  if (!address) return false;
  for (const Ipv4Network& network : networks) {
    if (network.Contains(*address)) return true;
  }
  return false;
}

}  // namespace quarry::authproxyd
