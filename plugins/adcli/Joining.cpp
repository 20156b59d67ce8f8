#include "Joining.h"

#include <errno.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "common/DistinguishedName.h"

#include <cstring>
#include <string>

#include "Adcli.h"
#include "AdcliOutput.h"
#include "ClientConfiguration.h"
#include "DirectorySearch.h"
#include "common/DomainControllers.h"
#include "HostIdentity.h"
#include "Membership.h"
#include "RefusedLogons.h"

namespace quarryadcli {
namespace {

bool Empty(const char* text) { return text == nullptr || *text == '\0'; }

bool FileExists(const char* path) {
  struct stat status;
  return stat(path, &status) == 0;
}

// The host's keys go with its membership; a keytab that was there before
// the join is someone else's and stays.
void RemoveKeytab() {
  if (unlink(kKeytabPath) != 0 && errno != ENOENT) {
    syslog(LOG_ERR, "quarryadcli: cannot remove %s: %s", kKeytabPath,
           std::strerror(errno));
  }
}

Membership MembershipFrom(const AdcliRun& run, const std::string& unit) {
  auto detail = [&run](const char* key) {
    const auto found = run.details.find(key);
    return found == run.details.end() ? std::string() : found->second;
  };
  Membership membership;
  membership.domain = detail("domain.domain-name");
  membership.realm = detail("domain.domain-realm");
  membership.netbiosName = detail("domain.domain-short");
  membership.domainSid = detail("domain.domain-SID");
  membership.domainController = detail("domain.domain-controller");
  membership.machineAccountDN = detail("computer.computer-dn");
  membership.computerName = detail("computer.computer-name");
  membership.hostName = detail("computer.host-fqdn");
  membership.organizationalUnit = unit;
  return membership;
}

// Joins as the request says and records the membership. Preferences that
// were set before the join are kept.
ADClientStatus JoinAndRecord(JoinRequest& request, const std::string& unit) {
  MembershipLock lock;
  Membership previous = LoadMembership();
  if (previous.Joined()) return kStatusAlreadyJoined;
  const ADClientStatus ready = CheckClientCanBeConfigured();
  if (ready != ADCLIENT_STATUS_SUCCESS) return ready;
  HostIdentity identity;
  if (!ReadHostIdentity(identity)) return kStatusInternalError;
  request.hostName = identity.fullyQualifiedName;
  request.computerName = identity.computerName;
  if (!previous.preferredDomainControllers.empty()) {
    request.domainController = previous.preferredDomainControllers.front();
  } else {
    std::vector<std::string> controllers;
    if (quarry::common::FindDomainControllers(request.domain, controllers) !=
        quarry::common::LookupResult::Found) {
      return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
    }
  }
  const bool keytabExisted = FileExists(kKeytabPath);
  const AdcliRun run = Join(request);
  const bool withPassword = !request.user.empty();
  if (run.status != ADCLIENT_STATUS_SUCCESS) {
    // adcli creates or resets the account before it writes the keys; an
    // account without keys on the host is useless, so take it away again.
    if (FailedAfterAccountChange(run.errors) && withPassword) {
      DeleteComputer(request.domain, request.computerName,
                     request.domainController, request.user, request.secret);
    }
    if (!keytabExisted) RemoveKeytab();
    return run.status;
  }
  Membership membership = MembershipFrom(run, unit);
  membership.preferredDomainControllers = previous.preferredDomainControllers;
  membership.smartCardServices = previous.smartCardServices;
  if (!membership.Joined() || SaveMembership(membership) != 0) {
    syslog(LOG_ERR, "quarryadcli: cannot record the membership in %s",
           kMembershipPath);
    if (withPassword) {
      DeleteComputer(request.domain, request.computerName,
                     request.domainController, request.user, request.secret);
    }
    if (!keytabExisted) RemoveKeytab();
    return kStatusInternalError;
  }
  // A joined host whose directory client knows nothing of the domain is of
  // no use; without its configuration the join is taken back.
  const ADClientStatus configured = ConfigureClient(membership);
  if (configured != ADCLIENT_STATUS_SUCCESS) {
    RemoveMembership();
    if (withPassword) {
      DeleteComputer(request.domain, request.computerName,
                     request.domainController, request.user, request.secret);
    }
    if (!keytabExisted) RemoveKeytab();
    return configured;
  }
  return ADCLIENT_STATUS_SUCCESS;
}

}  // namespace

ADClientStatus JoinWithPassword(const char* domain,
                                const char* organizationalUnit,
                                const Credentials* credentials) {
  if (Empty(domain) || credentials == nullptr ||
      Empty(credentials->username) || credentials->password == nullptr) {
    return kStatusInvalidParameter;
  }
  JoinRequest request;
  request.domain = domain;
  const std::string unit = organizationalUnit ? organizationalUnit : "";
  if (!unit.empty()) {
    request.organizationalUnitDN = quarry::plugin::ContainerDN(unit, domain);
  }
  request.user = credentials->username;
  request.secret = credentials->password;
  // The library asks again after a failed logon; the same refused
  // credentials are answered here instead of costing another bad logon.
  const Logon logon{request.domain, request.user, request.secret};
  RefusedLogons& refused = RecentlyRefusedLogons();
  if (refused.Refused(logon, RefusedLogons::Clock::now())) {
    syslog(LOG_NOTICE,
           "quarryadcli: the directory refused these credentials for %s a "
           "moment ago; not asking it again",
           request.domain.c_str());
    return ADCLIENT_STATUS_LOGON_FAILURE;
  }
  const ADClientStatus status = JoinAndRecord(request, unit);
  if (status == ADCLIENT_STATUS_LOGON_FAILURE) {
    refused.RememberRefusal(logon, RefusedLogons::Clock::now());
  }
  return status;
}

ADClientStatus JoinWithMachineAccount(
    const ADClientDirectoryDomainInfo* domain,
    const ADClientMachineAccountInfo* account) {
  if (domain == nullptr || account == nullptr ||
      Empty(domain->dnsDomainName) || account->principalThird == nullptr) {
    return kStatusInvalidParameter;
  }
  JoinRequest request;
  request.domain = domain->dnsDomainName;
  request.secret = account->principalThird;
  return JoinAndRecord(request, "");
}

ADClientStatus Leave(const Credentials* credentials) {
  MembershipLock lock;
  const Membership membership = LoadMembership();
  if (!membership.Joined()) return kStatusNotJoined;
  if (credentials != nullptr) {
    if (Empty(credentials->username) || credentials->password == nullptr) {
      return kStatusInvalidParameter;
    }
    const std::string controller =
        membership.preferredDomainControllers.empty()
            ? std::string()
            : membership.preferredDomainControllers.front();
    const AdcliRun run =
        DeleteComputer(membership.domain, membership.computerName, controller,
                       credentials->username, credentials->password);
    if (run.status != ADCLIENT_STATUS_SUCCESS) return run.status;
  }
  RemoveKeytab();
  if (RemoveMembership() != 0) return kStatusInternalError;
  return UnconfigureClient(membership);
}

}  // namespace quarryadcli
