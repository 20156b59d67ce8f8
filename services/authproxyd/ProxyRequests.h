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

#include <functional>
#include <string>

#include "services/authproxyd/Answer.h"
#include "services/authproxyd/ClientIdentity.h"
#include "services/authproxyd/ComputerAccounts.h"
#include "services/authproxyd/ProxySettings.h"
#include "services/authproxyd/RequestWorkers.h"

namespace quarry::authproxyd {

// When a request arrived, and whether its client still waits for the
// answer (empty: assume it does).
struct Arrival {
  Clock::time_point when;
  std::function<bool()> clientWaiting;
};

class ProxyRequests {
 public:
  // The work that reaches the directory runs on workers; the proxy's own
  // checks run at once, so that a slow directory delays no refusal.
  ProxyRequests(ComputerAccounts& accounts, RequestWorkers& workers,
                const ProxySettings& settings)
      : accounts_(accounts), workers_(workers), settings_(settings) {}

  // A request is answered, and changes nothing, after
  // request-timeout-seconds from its arrival; its directory work is not
  // started once its client has gone.
  Answer DomainInfo(const ClientIdentity& client, const Arrival& arrival);
  Answer CreateComputer(const ClientIdentity& client, const std::string& body,
                        const Arrival& arrival);

 private:
  Answer Refuse(const ClientIdentity& client, const std::string& asked,
                int status, const std::string& why) const;
  // The refusal of a client whose certificate stands for no host; empty
  // body when it stands for one.
  Answer RefuseUnenrolled(const ClientIdentity& client,
                          const std::string& asked) const;

  Clock::time_point Deadline(Clock::time_point arrival) const;
  // work's answer from a worker, or 504 when it has none by deadline.
  Answer InTime(const ClientIdentity& client, const std::string& asked,
                std::function<Answer()> work, const Arrival& arrival);

  ComputerAccounts& accounts_;
  RequestWorkers& workers_;
  const ProxySettings& settings_;
};

}  // namespace quarry::authproxyd

#endif
