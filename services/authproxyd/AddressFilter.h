// The allow-list as a packet filter on the listening socket: the kernel
// drops every packet, the first SYN included, from an address outside the
// allowed networks, so that such a client never gets a connection, a TLS
// handshake or a moment of the proxy's time. Accepted connections inherit
// the filter.
#ifndef QUARRY_AUTHPROXYD_ADDRESSFILTER_H
#define QUARRY_AUTHPROXYD_ADDRESSFILTER_H

#include <vector>

#include "services/authproxyd/Ipv4Network.h"

namespace quarry::authproxyd {

// Attaches the filter to an IPv4 TCP socket; false (errno set) when the
// kernel refuses it.
bool AttachAddressFilter(int socket, const std::vector<Ipv4Network>& allowed);

}  // namespace quarry::authproxyd

#endif
