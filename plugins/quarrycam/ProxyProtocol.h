// The proxy's two requests as the plug-in asks them (the service documents
// the protocol: GET /api/v1/domain and POST /api/v1/computers, JSON over
// HTTPS) and the result codes its answers turn into.
#ifndef QUARRYCAM_PROXYPROTOCOL_H
#define QUARRYCAM_PROXYPROTOCOL_H

#include <quarryauth/plugin/CAMProxyClient.h>

#include <string>

#include "TlsExchange.h"

namespace quarrycam {

struct DomainAnswer {
  std::string netbiosName;
  std::string dnsName;
  std::string sid;
};

struct ComputerAnswer {
  std::string dn;
  std::string oneTimePassword;
};

CAMProxyResult AskDomain(const std::string& server, const ServerCheck& check,
                         DomainAnswer& answer);

// container empty: the proxy's default.
CAMProxyResult AskComputer(const std::string& server, const ServerCheck& check,
                           const std::string& hostName,
                           const std::string& container,
                           ComputerAnswer& answer);

// The result code for an HTTP status other than 200.
CAMProxyResult StatusResult(int status);

}  // namespace quarrycam

#endif
