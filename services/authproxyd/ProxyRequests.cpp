#include "services/authproxyd/ProxyRequests.h"

#include <syslog.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "services/authproxyd/AccountRules.h"
#include "services/authproxyd/HostNameRules.h"
#include "services/authproxyd/OneTimePassword.h"

namespace quarry::authproxyd {

namespace {

using nlohmann::json;

Answer DirectoryFailure(const std::string& client, const std::string& asked,
                        const DirectoryError& error) {
  syslog(LOG_ERR, "%s for %s failed: %s", asked.c_str(), client.c_str(),
         error.what());
  return ErrorAnswer(error.TimedOut() ? 504 : 502, error.what());
}

bool SameHostName(const std::string& left, const std::string& right) {
  return left.size() == right.size() &&
         std::equal(left.begin(), left.end(), right.begin(),
                    [](unsigned char a, unsigned char b) {
                      return std::tolower(a) == std::tolower(b);
                    });
}

// The string member key of request, or empty when absent; false when the
// member is there but not a string.
bool StringMember(const json& request, const char* key, std::string& value) {
  const auto found = request.find(key);
  if (found == request.end() || found->is_null()) return true;
  if (!found->is_string()) return false;
  value = found->get<std::string>();
  return true;
}

}  // namespace

Clock::time_point ProxyRequests::Deadline(Clock::time_point arrival) const {
  return arrival + std::chrono::seconds(settings_.requestTimeoutSeconds);
}

Answer ProxyRequests::InTime(const ClientIdentity& client,
                             const std::string& asked,
                             std::function<Answer()> work,
                             const Arrival& arrival) {
  std::function<bool()> wanted;
  if (arrival.clientWaiting) {
    wanted = [waiting = arrival.clientWaiting, who = client.Describe(), asked] {
      if (waiting()) return true;
      syslog(LOG_NOTICE, "%s for %s not started: the client has gone",
             asked.c_str(), who.c_str());
      return false;
    };
  }
  if (std::optional<Answer> answer = workers_.Run(
          std::move(work), Deadline(arrival.when), std::move(wanted))) {
    return *answer;
  }
  if (workers_.Stopped()) return ErrorAnswer(503, "the proxy is stopping");
  const std::string why = "the directory did not answer within " +
                          std::to_string(settings_.requestTimeoutSeconds) +
                          " seconds";
  syslog(LOG_ERR, "%s for %s failed: %s", asked.c_str(),
         client.Describe().c_str(), why.c_str());
  return ErrorAnswer(504, why);
}

Answer ProxyRequests::DomainInfo(const ClientIdentity& client,
                                 const Arrival& arrival) {
  const Answer refused = RefuseUnenrolled(client, "the domain");
  if (!refused.body.empty()) return refused;
  const Clock::time_point deadline = Deadline(arrival.when);
  // The work owns copies of what it uses: it may outlive this request.
  ComputerAccounts& accounts = accounts_;
  const std::string who = client.Describe();
  return InTime(client, "domain information", [&accounts, who, deadline] {
    try {
      const DomainIdentity identity = accounts.Domain(deadline);
      syslog(LOG_INFO, "told %s the domain %s", who.c_str(),
             identity.dnsName.c_str());
      return Answer{200, json{{"netbiosName", identity.netbiosName},
                              {"dnsName", identity.dnsName},
                              {"sid", identity.sid}}
                             .dump()};
    } catch (const DirectoryError& error) {
      return DirectoryFailure(who, "domain information", error);
    }
  }, arrival);
}

Answer ProxyRequests::CreateComputer(const ClientIdentity& client,
                                     const std::string& body,
                                     const Arrival& arrival) {
  const Answer refused = RefuseUnenrolled(client, "a computer account");
  if (!refused.body.empty()) return refused;
  const json request = json::parse(body, nullptr, false);
  std::string hostName;
  std::string container;
  if (!request.is_object() || !StringMember(request, "hostName", hostName) ||
      !StringMember(request, "container", container)) {
    return ErrorAnswer(400, "the request is not a JSON object with string "
                            "members hostName and container");
  }
  if (!IsValidHostName(hostName)) {
    return Refuse(client, "a computer account", 400,
                  "\"" + hostName + "\" is not a fully qualified host name");
  }
  if (!SameHostName(hostName, client.hostName)) {
    return Refuse(client, "a computer account for " + hostName, 403,
                  "this client's certificate is enrolled for " +
                      client.hostName + ", not " + hostName);
  }
  if (!IsNameInDomain(hostName, settings_.domain)) {
    return Refuse(client, "a computer account for " + hostName, 403,
                  "\"" + hostName + "\" is not a name in the domain " +
                      settings_.domain);
  }
  if (!container.empty() && !IsPlausibleContainer(container)) {
    return Refuse(client, "a computer account for " + hostName, 400,
                  "\"" + container + "\" is not a distinguished name");
  }
  if (!container.empty() &&
      !IsWithinContainer(container, settings_.baseContainer)) {
    return Refuse(client, "a computer account for " + hostName, 403,
                  "the container \"" + container +
                      "\" is not under the proxy's base container \"" +
                      settings_.baseContainer + "\"");
  }
  const Clock::time_point deadline = Deadline(arrival.when);
  ComputerAccounts& accounts = accounts_;
  const std::string who = client.Describe();
  const std::string asked = "a computer account for " + hostName;
  return InTime(client, "computer account " + hostName,
                [&accounts, who, asked, hostName, container, deadline] {
    try {
      const std::string password = MakeOneTimePassword();
      const std::string dn =
          accounts.CreateComputer(hostName, container, password, deadline);
      syslog(LOG_NOTICE, "created computer account %s for %s", dn.c_str(),
             who.c_str());
      return Answer{200, json{{"dn", dn}, {"oneTimePassword", password}}.dump()};
    } catch (const AccountConflict& conflict) {
      syslog(LOG_WARNING, "refused %s %s: %s", who.c_str(), asked.c_str(),
             conflict.what());
      return ErrorAnswer(409, conflict.what());
    } catch (const DirectoryError& error) {
      return DirectoryFailure(who, "computer account " + hostName, error);
    }
  }, arrival);
}

Answer ProxyRequests::Refuse(const ClientIdentity& client,
                             const std::string& asked, int status,
                             const std::string& why) const {
  syslog(LOG_WARNING, "refused %s %s: %s", client.Describe().c_str(),
         asked.c_str(), why.c_str());
  return ErrorAnswer(status, why);
}

Answer ProxyRequests::RefuseUnenrolled(const ClientIdentity& client,
                                       const std::string& asked) const {
  if (client.thumbprint.empty()) {
    return Refuse(client, asked, 403,
                  "this proxy serves enrolled hosts only, and the client "
                  "presented no certificate; create the host's certificate "
                  "with 'quarryauthctl host-cert create' and have it "
                  "enrolled with 'quarry-authproxyd enroll'");
  }
  if (client.hostName.empty()) {
    return Refuse(client, asked, 403,
                  "the client certificate " + client.thumbprint +
                      " is not enrolled with this proxy; enrol it with "
                      "'quarry-authproxyd enroll HOST --thumbprint " +
                      client.thumbprint + "'");
  }
  return Answer{200, std::string()};
}

}  // namespace quarry::authproxyd
