// "quarryadcli": the Active Directory client plug-in for Linux hosts. Joins
// and leaves with Debian's adcli, answers questions about the domain from
// its membership record, DNS and the directory itself (LDAP as the machine
// account), and names SSSD's PAM and NSS modules for directory logins.
#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <string>
#include <utility>
#include <vector>

#include "common/PluginAnswers.h"
#include "common/PluginText.h"

#include "Adcli.h"
#include "AdcliOutput.h"
#include "DirectorySearch.h"
#include "common/DomainControllers.h"
#include "Joining.h"
#include "Membership.h"

namespace quarryadcli {
namespace {

using quarry::plugin::AnswerDomainNames;
using quarry::plugin::AnswerText;
using quarry::plugin::AnswerTexts;
using quarry::plugin::CopyText;
using quarry::plugin::CopyTextArray;
using quarry::plugin::ReleaseText;
using quarry::plugin::ReleaseTextArray;
using quarry::plugin::SameName;
using quarry::plugin::TextsOf;
using quarry::plugin::ToLower;
using quarry::plugin::ToUpper;

// Trust states of this plug-in. The library itself adds 2 (no answer in
// time) and 7 (the host's keys are missing), so those are not used here.
const ADClientTrustState kTrustNotJoined = 0;
const ADClientTrustState kTrustEstablished = 1;
const ADClientTrustState kTrustBroken = 3;
const ADClientTrustState kTrustUnreachable = 4;

// Answers of GetDomainTrustRelationship.
const uint32_t kRelationshipNone = 0;
const uint32_t kRelationshipOwnDomain = 1;
const uint32_t kRelationshipTrusted = 2;

bool NamesJoinedDomain(const Membership& membership, const std::string& name) {
  return SameName(name, membership.domain) ||
         SameName(name, membership.realm) ||
         SameName(name, membership.netbiosName);
}

ADClientStatus Remember(void (*change)(Membership&, const char* const*),
                        const char* const* texts) {
  MembershipLock lock;
  Membership membership = LoadMembership();
  change(membership, texts);
  return SaveMembership(membership) == 0 ? ADCLIENT_STATUS_SUCCESS
                                         : kStatusInternalError;
}

ADClientStatus JoinDomain(const char* domain, const char* organizationalUnit,
                          const Credentials* credentials) {
  return JoinWithPassword(domain, organizationalUnit, credentials);
}

ADClientStatus PartDomain(const Credentials* credentials) {
  return Leave(credentials);
}

void ReleaseDomainName(void* text) { ReleaseText(text); }

ADClientStatus GetActiveDomain(ADClientDomainName* domain,
                               ADClientReleaseFunction* release) {
  const Membership membership = LoadMembership();
  domain->dnsName = nullptr;
  domain->netbiosName = nullptr;
  *release = ReleaseDomainName;
  if (!membership.Joined()) return ADCLIENT_STATUS_SUCCESS;
  domain->dnsName = CopyText(membership.domain);
  domain->netbiosName = CopyText(membership.netbiosName);
  if (domain->dnsName == nullptr || domain->netbiosName == nullptr) {
    ReleaseText(domain->dnsName);
    ReleaseText(domain->netbiosName);
    return kStatusNotEnoughMemory;
  }
  return ADCLIENT_STATUS_SUCCESS;
}

ADClientStatus SetPreferredDomainControllers(const char* const* hostNames) {
  return Remember(
      [](Membership& membership, const char* const* texts) {
        membership.preferredDomainControllers = TextsOf(texts);
      },
      hostNames);
}

ADClientStatus GetPreferredDomainControllers(
    char*** hostNames, ADClientReleaseFunction* release) {
  return AnswerTexts(LoadMembership().preferredDomainControllers, hostNames,
                     release);
}

ADClientTrustState GetDomainTrustState() {
  const Membership membership = LoadMembership();
  if (!membership.Joined()) return kTrustNotJoined;
  const std::string controller =
      membership.preferredDomainControllers.empty()
          ? std::string()
          : membership.preferredDomainControllers.front();
  const ADClientStatus status = TestJoin(membership.domain, controller).status;
  if (status == ADCLIENT_STATUS_SUCCESS) return kTrustEstablished;
  if (status == kStatusNoLogonServers || status == kStatusTimedOut) {
    return kTrustUnreachable;
  }
  return kTrustBroken;
}

ADClientStatus GetTrustedDomains(ADClientDomainName*** domains,
                                 ADClientReleaseFunction* release) {
  const Membership membership = LoadMembership();
  std::vector<std::pair<std::string, std::string>> found;
  if (membership.Joined()) {
    const ADClientStatus status = SearchTrustedDomains(membership, found);
    if (status != ADCLIENT_STATUS_SUCCESS) return status;
  }
  return AnswerDomainNames(found, domains, release);
}

ADClientStatus GetMachineAccountDN(char** distinguishedName,
                                   ADClientReleaseFunction* release) {
  const Membership membership = LoadMembership();
  *release = ReleaseText;
  *distinguishedName = nullptr;
  if (!membership.Joined()) return ADCLIENT_STATUS_SUCCESS;
  return AnswerText(membership.machineAccountDN, distinguishedName, release);
}

ADClientStatus GetAnyDomainController(const char* /*first*/,
                                      const char* domain,
                                      char** domainController,
                                      ADClientReleaseFunction* release) {
  std::string name = domain ? domain : "";
  if (name.empty()) name = LoadMembership().domain;
  std::vector<std::string> controllers;
  if (quarry::common::FindDomainControllers(name, controllers) != quarry::common::LookupResult::Found) {
    return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
  }
  return AnswerText(controllers.front(), domainController, release);
}

// "DOMAIN\user", "user@REALM" and a bare "user" of the joined domain all
// become "user@REALM".
ADClientStatus ConvertCanonicalUsername(const char* name, char** converted,
                                        ADClientReleaseFunction* release) {
  const Membership membership = LoadMembership();
  if (!membership.Joined()) return kStatusNotJoined;
  std::string user = name ? name : "";
  std::string domain = membership.domain;
  const auto backslash = user.find('\\');
  const auto at = user.rfind('@');
  if (backslash != std::string::npos) {
    domain = user.substr(0, backslash);
    user = user.substr(backslash + 1);
  } else if (at != std::string::npos) {
    domain = user.substr(at + 1);
    user = user.substr(0, at);
  }
  if (user.empty()) return kStatusInvalidParameter;
  if (!NamesJoinedDomain(membership, domain)) {
    return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
  }
  return AnswerText(user + "@" + membership.realm, converted, release);
}

ADClientStatus JoinDomainWithMachineAccount(
    const ADClientDirectoryDomainInfo* domain,
    const ADClientMachineAccountInfo* account) {
  return JoinWithMachineAccount(domain, account);
}

ADClientStatus GetHostPrincipalForDomain(const char* domain, char** principal,
                                         ADClientReleaseFunction* release) {
  const Membership membership = LoadMembership();
  if (!membership.Joined()) return kStatusNotJoined;
  if (domain == nullptr || !NamesJoinedDomain(membership, domain)) {
    return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
  }
  return AnswerText("host/" + ToLower(membership.hostName) + "@" +
                        ToUpper(membership.realm),
                    principal, release);
}

uint32_t GetDomainTrustRelationship(const char* domain) {
  const Membership membership = LoadMembership();
  if (!membership.Joined() || domain == nullptr) return kRelationshipNone;
  if (NamesJoinedDomain(membership, domain)) return kRelationshipOwnDomain;
  std::vector<std::pair<std::string, std::string>> trusted;
  if (SearchTrustedDomains(membership, trusted) != ADCLIENT_STATUS_SUCCESS) {
    return kRelationshipNone;
  }
  for (const auto& names : trusted) {
    if (SameName(domain, names.first) || SameName(domain, names.second)) {
      return kRelationshipTrusted;
    }
  }
  return kRelationshipNone;
}

ADClientStatus SetSmartCardEnabledServices(const char* const* services) {
  return Remember(
      [](Membership& membership, const char* const* texts) {
        membership.smartCardServices = TextsOf(texts);
      },
      services);
}

ADClientStatus GetSmartCardEnabledServices(char*** services,
                                           ADClientReleaseFunction* release) {
  return AnswerTexts(LoadMembership().smartCardServices, services, release);
}

}  // namespace
}  // namespace quarryadcli

extern "C" {

ADCLIENT_EXPORT extern const ADClientMetadata ActiveDirectoryClientMetadata;
ADCLIENT_EXPORT extern const ADClientOperations ActiveDirectoryClientOperations;

// SSSD serves the directory's users to PAM and NSS once the host is joined.
const ADClientMetadata ActiveDirectoryClientMetadata = {
    ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION, "pam_sss.so", "use_first_pass",
    "sss", nullptr};

const ADClientOperations ActiveDirectoryClientOperations = {
    ACTIVE_DIRECTORY_CLIENT_OPERATIONS_VERSION,
    quarryadcli::JoinDomain,
    quarryadcli::PartDomain,
    quarryadcli::GetActiveDomain,
    quarryadcli::SetPreferredDomainControllers,
    quarryadcli::GetPreferredDomainControllers,
    nullptr,
    quarryadcli::GetDomainTrustState,
    quarryadcli::GetTrustedDomains,
    quarryadcli::GetMachineAccountDN,
    quarryadcli::GetAnyDomainController,
    quarryadcli::ConvertCanonicalUsername,
    quarryadcli::JoinDomainWithMachineAccount,
    quarryadcli::GetHostPrincipalForDomain,
    quarryadcli::GetDomainTrustRelationship,
    quarryadcli::SetSmartCardEnabledServices,
    quarryadcli::GetSmartCardEnabledServices,
};

}
