#include <quarryauth/platform/tesselctl/Ipv4Address.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <quarryauth/platform/tesselctl/HostCtlException.h>

namespace HostCtl {
namespace Network {

namespace {

// inet_pton reads a C string, so a NUL inside the text would hide its tail.
bool ParseDottedQuad(const std::string& text, in_addr& address) {
  if (text.find('\0') != std::string::npos) return false;
  return ::inet_pton(AF_INET, text.c_str(), &address) == 1;
}

}  // namespace

Ipv4Address::Ipv4Address() : networkOrder_(0) {}

Ipv4Address::Ipv4Address(const std::string& text) : networkOrder_(0) {
  in_addr address;
  if (!ParseDottedQuad(text, address)) {
    throw Lib::HostCtlException("'" + text + "' is not a valid IPv4 address");
  }
  networkOrder_ = address.s_addr;
}

Ipv4Address Ipv4Address::FromNetworkOrder(uint32_t value) {
  Ipv4Address address;
  address.networkOrder_ = value;
  return address;
}

bool Ipv4Address::IsValidAddress(const std::string& text) {
  in_addr address;
  return ParseDottedQuad(text, address);
}

std::string Ipv4Address::GetStringAddress() const {
  in_addr address;
  address.s_addr = networkOrder_;
  char text[INET_ADDRSTRLEN];
  ::inet_ntop(AF_INET, &address, text, sizeof(text));
  return text;
}

}  // namespace Network
}  // namespace HostCtl
