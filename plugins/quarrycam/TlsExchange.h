// One request to the proxy over TLS: connect within the connect time-out,
// then handshake, check the server's certificate, send the request and read
// the whole answer within the reply time-out.
#ifndef QUARRYCAM_TLSEXCHANGE_H
#define QUARRYCAM_TLSEXCHANGE_H

#include <quarryauth/plugin/CAMProxyClient.h>

#include <string>

#include "CamSettings.h"

namespace quarrycam {

struct ServerCheck {
  // When set, the certificate's SHA-1 thumbprint text must equal
  // thumbprint; otherwise any certificate is accepted.
  bool verify = false;
  std::string thumbprint;
};

// The server's HTTP status and body on success; otherwise the result code:
// refused 1225, no answer in time 10060, unreachable 1231, a thumbprint
// that differs 0x80090325, anything that is not TLS and HTTP 1229.
CAMProxyResult ExchangeOverTls(const std::string& address,
                               const CamSettings& settings,
                               const ServerCheck& check,
                               const std::string& request, int& status,
                               std::string& body);

}  // namespace quarrycam

#endif
