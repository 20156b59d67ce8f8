#include "services/authproxyd/AddressFilter.h"

#include <linux/filter.h>
#include <sys/socket.h>

#include <cerrno>

namespace quarry::authproxyd {

namespace {

// Classic BPF: offsets from SKF_NET_OFF address the IPv4 header, whose
// source address is at byte 12.
constexpr int kSourceAddress = SKF_NET_OFF + 12;
constexpr unsigned kKeep = 0xFFFFFFFF;
constexpr unsigned kDrop = 0;
// The kernel's limit on a classic filter's length.
constexpr std::size_t kLongestProgram = BPF_MAXINSNS;

sock_filter Statement(unsigned short code, unsigned value) {
  return BPF_STMT(code, value);
}

sock_filter Jump(unsigned short code, unsigned value, unsigned char ifTrue,
                 unsigned char ifFalse) {
  return BPF_JUMP(code, value, ifTrue, ifFalse);
}

}  // namespace

bool AttachAddressFilter(int socket, const std::vector<Ipv4Network>& allowed) {
  // For each network: load the source, mask it, compare; a match keeps the
  // packet, anything else falls through to the next network and at last
  // to the drop.
  std::vector<sock_filter> program;
  for (const Ipv4Network& network : allowed) {
    program.push_back(Statement(BPF_LD | BPF_W | BPF_ABS,
                                static_cast<unsigned>(kSourceAddress)));
    program.push_back(Statement(BPF_ALU | BPF_AND | BPF_K, network.mask()));
    program.push_back(Jump(BPF_JMP | BPF_JEQ | BPF_K, network.network(), 0, 1));
    program.push_back(Statement(BPF_RET | BPF_K, kKeep));
  }
  program.push_back(Statement(BPF_RET | BPF_K, kDrop));
  if (program.size() > kLongestProgram) {
    errno = E2BIG;
    return false;
  }
  sock_fprog filter = {static_cast<unsigned short>(program.size()),
                       program.data()};
  return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter,
                      sizeof filter) == 0;
}

}  // namespace quarry::authproxyd
