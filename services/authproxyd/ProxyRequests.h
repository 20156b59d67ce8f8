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
// Only enrolled hosts are served (ClientIdentity.h), and a host only for its
// own name. Failures answer {"error": "why"} with 400 (not a JSON object, a
// host name that is not valid, a container that is not a DN), 403 (a client
// outside allowed-networks, without a certificate, with one that is not
// enrolled or is enrolled for another host, a host name outside the proxy's
// domain, a container outside its base container), 404 (no such request), 409 (an existing
// account that the proxy may not reset), 502 (the directory refused) or 504
// (the directory did not answer in time). Every refusal is logged with the
// client.
#ifndef QUARRY_AUTHPROXYD_PROXYREQUESTS_H
#define QUARRY_AUTHPROXYD_PROXYREQUESTS_H

#include <string>

#include "services/authproxyd/AdcliDirectory.h"
#include "services/authproxyd/ClientIdentity.h"
#include "services/authproxyd/ProxySettings.h"

namespace quarry::authproxyd {

struct Answer {
  int status = 200;
  std::string body;  // JSON
};

class ProxyRequests {
 public:
  ProxyRequests(AdcliDirectory& directory, const ProxySettings& settings)
      : directory_(directory), settings_(settings) {}

  Answer DomainInfo(const ClientIdentity& client);
  Answer CreateComputer(const ClientIdentity& client, const std::string& body);

 private:
  Answer Refuse(const ClientIdentity& client, const std::string& asked,
                int status, const std::string& why) const;
  // The refusal of a client whose certificate stands for no host; empty
  // body when it stands for one.
  Answer RefuseUnenrolled(const ClientIdentity& client,
                          const std::string& asked) const;

  AdcliDirectory& directory_;
  const ProxySettings& settings_;
};

// {"error": text} with status.
Answer ErrorAnswer(int status, const std::string& text);

}  // namespace quarry::authproxyd

#endif
