// The proxy's two requests, apart from HTTP: each takes the parsed request
// and gives the status and JSON body to answer with.
//
//   GET  /api/v1/domain
//     200 {"netbiosName": "AD", "dnsName": "ad.test", "sid": "S-1-5-21-..."}
//   POST /api/v1/computers  {"hostName": "node1.ad.test",
//                            "container": "OU=Hosts,DC=ad,DC=test"}
//     ("container" is optional: the configured default, else the domain's
//     computers container.) Creates the account, or deletes and creates it
//     again when it exists, with a fresh one-time password:
//     200 {"dn": "CN=NODE1,CN=Computers,DC=ad,DC=test",
//          "oneTimePassword": "..."}
//
// Failures answer {"error": "why"} with 400 (not a JSON object, a host name
// that is not valid, a container that is not a DN), 403 (a client outside
// allowed-networks), 404 (no such request), 502 (the directory refused) or
// 504 (the directory did not answer in time).
#ifndef QUARRY_AUTHPROXYD_PROXYREQUESTS_H
#define QUARRY_AUTHPROXYD_PROXYREQUESTS_H

#include <string>

#include "services/authproxyd/AdcliDirectory.h"

namespace quarry::authproxyd {

struct Answer {
  int status = 200;
  std::string body;  // JSON
};

class ProxyRequests {
 public:
  explicit ProxyRequests(AdcliDirectory& directory) : directory_(directory) {}

  Answer DomainInfo(const std::string& client);
  Answer CreateComputer(const std::string& client, const std::string& body);

 private:
  AdcliDirectory& directory_;
};

// {"error": text} with status.
Answer ErrorAnswer(int status, const std::string& text);

}  // namespace quarry::authproxyd

#endif
