// "quarrydemo": a demonstration Active Directory client plug-in. It talks
// to no network; its domain is described by /etc/quarry/quarrydemo.conf
// (DirectorySettings) and its record of the host is a state file
// (HostRecord). It serves to drive and show the library by hand.
#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "DirectorySettings.h"
#include "common/DistinguishedName.h"
#include "HostRecord.h"
#include "common/PluginAnswers.h"
#include "common/PluginText.h"

namespace quarrydemo {

using namespace quarry::plugin;
namespace {

const ADClientStatus kInternalError = 1359;
const ADClientStatus kAccountLockedOut = 1909;
const ADClientStatus kAlreadyJoined = 2691;
const ADClientStatus kNotJoined = 2692;

// Trust states of this plug-in; the library adds 2 (no answer in time) and
// 7 (the directory's files are missing).
const ADClientTrustState kTrustNotJoined = 0;
const ADClientTrustState kTrustEstablished = 1;

// Joins, leaves and settings read, change and save the state file whole;
// the library may call from several threads.
std::mutex recordLock;

// A wrong password counts towards the lock-out; a right one resets it.
ADClientStatus CheckAdministrator(const DirectorySettings& settings,
                                  HostRecord& record,
                                  const Credentials* credentials) {
  const bool right = credentials != nullptr &&
                     credentials->username != nullptr &&
                     credentials->password != nullptr &&
                     SameName(credentials->username, settings.administrator) &&
                     settings.password == credentials->password;
  if (right) {
    record.failedLogons = 0;
    return ADCLIENT_STATUS_SUCCESS;
  }
  const bool lockedOut = settings.lockoutThreshold > 0 &&
                         record.failedLogons >= settings.lockoutThreshold;
  ++record.failedLogons;
  SaveHostRecord(record);
  return lockedOut ? kAccountLockedOut : settings.wrongPasswordStatus;
}

ADClientStatus Save(const HostRecord& record) {
  return SaveHostRecord(record) == 0 ? ADCLIENT_STATUS_SUCCESS : kInternalError;
}

ADClientStatus JoinDomain(const char* domain, const char* organizationalUnit,
                          const Credentials* credentials) {
  std::lock_guard<std::mutex> guard(recordLock);
  const DirectorySettings settings = LoadDirectorySettings();
  HostRecord record = LoadHostRecord();
  if (domain == nullptr || !SameName(domain, settings.domain)) {
    return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
  }
  const ADClientStatus logon =
      CheckAdministrator(settings, record, credentials);
  if (logon != ADCLIENT_STATUS_SUCCESS) return logon;
  if (record.Joined()) return kAlreadyJoined;
  const std::string unit = organizationalUnit ? organizationalUnit : "";
  record.domain = settings.domain;
  record.netbiosName = settings.netbiosName;
  record.organizationalUnit = unit;
  record.machineAccountDN =
      MachineAccountDN(ShortHostName(), unit, settings.domain);
  return Save(record);
}

ADClientStatus PartDomain(const Credentials* credentials) {
  std::lock_guard<std::mutex> guard(recordLock);
  const DirectorySettings settings = LoadDirectorySettings();
  HostRecord record = LoadHostRecord();
  if (credentials != nullptr) {
    const ADClientStatus logon =
        CheckAdministrator(settings, record, credentials);
    if (logon != ADCLIENT_STATUS_SUCCESS) return logon;
  }
  if (!record.Joined()) return kNotJoined;
  record.domain.clear();
  record.netbiosName.clear();
  record.organizationalUnit.clear();
  record.machineAccountDN.clear();
  record.preferredDomainControllers.clear();
  return Save(record);
}

ADClientStatus GetActiveDomain(ADClientDomainName* domain,
                               ADClientReleaseFunction* release) {
  DelayStatusAnswer(LoadDirectorySettings());
  const HostRecord record = LoadHostRecord();
  domain->dnsName = nullptr;
  domain->netbiosName = nullptr;
  *release = ReleaseText;
  if (!record.Joined()) return ADCLIENT_STATUS_SUCCESS;
  domain->dnsName = CopyText(record.domain);
  domain->netbiosName = CopyText(record.netbiosName);
  return ADCLIENT_STATUS_SUCCESS;
}

ADClientStatus SetPreferredDomainControllers(const char* const* hostNames) {
  std::lock_guard<std::mutex> guard(recordLock);
  HostRecord record = LoadHostRecord();
  if (!record.Joined()) return kNotJoined;
  record.preferredDomainControllers = TextsOf(hostNames);
  return Save(record);
}

ADClientStatus GetPreferredDomainControllers(char*** hostNames,
                                             ADClientReleaseFunction* release) {
  DelayStatusAnswer(LoadDirectorySettings());
  return AnswerTexts(LoadHostRecord().preferredDomainControllers, hostNames,
                     release);
}

ADClientTrustState GetDomainTrustState() {
  DelayStatusAnswer(LoadDirectorySettings());
  return LoadHostRecord().Joined() ? kTrustEstablished : kTrustNotJoined;
}

ADClientStatus GetTrustedDomains(ADClientDomainName*** domains,
                                 ADClientReleaseFunction* release) {
  const DirectorySettings settings = LoadDirectorySettings();
  DelayStatusAnswer(settings);
  const bool joined = LoadHostRecord().Joined();
  return AnswerDomainNames(
      joined ? settings.trustedDomains
             : std::vector<std::pair<std::string, std::string>>(),
      domains, release);
}

ADClientStatus GetMachineAccountDN(char** distinguishedName,
                                   ADClientReleaseFunction* release) {
  DelayStatusAnswer(LoadDirectorySettings());
  const HostRecord record = LoadHostRecord();
  *release = ReleaseText;
  *distinguishedName = nullptr;
  if (!record.Joined()) return ADCLIENT_STATUS_SUCCESS;
  return AnswerText(record.machineAccountDN, distinguishedName, release);
}

ADClientStatus GetAnyDomainController(const char* /*first*/, const char* domain,
                                      char** domainController,
                                      ADClientReleaseFunction* release) {
  const DirectorySettings settings = LoadDirectorySettings();
  if (domain == nullptr || !SameName(domain, settings.domain) ||
      settings.domainControllers.empty()) {
    return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
  }
  return AnswerText(settings.domainControllers.front(), domainController,
                    release);
}

// "user", "user@ad.test" and "AD\user" all become "AD\user".
ADClientStatus ConvertCanonicalUsername(const char* name, char** converted,
                                        ADClientReleaseFunction* release) {
  const DirectorySettings settings = LoadDirectorySettings();
  std::string user = name ? name : "";
  const auto backslash = user.find('\\');
  const auto at = user.find('@');
  if (backslash != std::string::npos) {
    if (!SameName(user.substr(0, backslash), settings.netbiosName)) {
      return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
    }
    user = user.substr(backslash + 1);
  } else if (at != std::string::npos) {
    if (!SameName(user.substr(at + 1), settings.domain)) {
      return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
    }
    user = user.substr(0, at);
  }
  return AnswerText(settings.netbiosName + "\\" + user, converted, release);
}

ADClientStatus JoinDomainWithMachineAccount(
    const ADClientDirectoryDomainInfo* domain,
    const ADClientMachineAccountInfo* account) {
  std::lock_guard<std::mutex> guard(recordLock);
  HostRecord record = LoadHostRecord();
  if (record.Joined()) return kAlreadyJoined;
  if (account->principalThird == nullptr || *account->principalThird == '\0') {
    return ADCLIENT_STATUS_LOGON_FAILURE;  // no machine password
  }
  record.domain = domain->dnsDomainName;
  record.netbiosName = domain->netbiosDomainName;
  record.organizationalUnit.clear();
  record.machineAccountDN = account->principalSecond;
  return Save(record);
}

ADClientStatus GetHostPrincipalForDomain(const char* domain, char** principal,
                                         ADClientReleaseFunction* release) {
  if (domain == nullptr || *domain == '\0') {
    return ADCLIENT_STATUS_NO_SUCH_DOMAIN;
  }
  return AnswerText(ToUpper(ShortHostName()) + "$@" + ToUpper(domain),
                    principal, release);
}

// 1: the domain is this one or trusted by it, 0: unknown to it.
uint32_t GetDomainTrustRelationship(const char* domain) {
  const DirectorySettings settings = LoadDirectorySettings();
  if (domain == nullptr) return 0;
  if (SameName(domain, settings.domain)) return 1;
  for (const auto& trusted : settings.trustedDomains) {
    if (SameName(domain, trusted.first)) return 1;
  }
  return 0;
}

ADClientStatus SetSmartCardEnabledServices(const char* const* services) {
  std::lock_guard<std::mutex> guard(recordLock);
  HostRecord record = LoadHostRecord();
  record.smartCardServices = TextsOf(services);
  return Save(record);
}

ADClientStatus GetSmartCardEnabledServices(char*** services,
                                           ADClientReleaseFunction* release) {
  return AnswerTexts(LoadHostRecord().smartCardServices, services, release);
}

}  // namespace
}  // namespace quarrydemo

// Declared extern first: a const object would otherwise stay local to this
// file.
extern "C" {

ADCLIENT_EXPORT extern const ADClientMetadata ActiveDirectoryClientMetadata;
ADCLIENT_EXPORT extern const ADClientOperations ActiveDirectoryClientOperations;

const ADClientMetadata ActiveDirectoryClientMetadata = {
    ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION,
    "pam_quarrydemo.so",
    "use_first_pass offline_credentials",
    "quarrydemo",
    "UNAVAIL=continue",
};

const ADClientOperations ActiveDirectoryClientOperations = {
    ACTIVE_DIRECTORY_CLIENT_OPERATIONS_VERSION,
    quarrydemo::JoinDomain,
    quarrydemo::PartDomain,
    quarrydemo::GetActiveDomain,
    quarrydemo::SetPreferredDomainControllers,
    quarrydemo::GetPreferredDomainControllers,
    nullptr,
    quarrydemo::GetDomainTrustState,
    quarrydemo::GetTrustedDomains,
    quarrydemo::GetMachineAccountDN,
    quarrydemo::GetAnyDomainController,
    quarrydemo::ConvertCanonicalUsername,
    quarrydemo::JoinDomainWithMachineAccount,
    quarrydemo::GetHostPrincipalForDomain,
    quarrydemo::GetDomainTrustRelationship,
    quarrydemo::SetSmartCardEnabledServices,
    quarrydemo::GetSmartCardEnabledServices,
};

}  // extern "C"
