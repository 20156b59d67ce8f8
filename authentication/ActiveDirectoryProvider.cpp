#include <quarryauth/authentication/ActiveDirectoryProvider.h>

#include <alloca.h>

#include <functional>
#include <sstream>
#include <syslog.h>
#include <unistd.h>

#include "authentication/DynamicLibrary.h"
#include <quarryauth/authentication/ErrorMapping.h>
#include <quarryauth/authentication/Exception.h>
#include "authentication/Log.h"

namespace quarry {
namespace authentication {

static_assert(sizeof(ADClientMetadata) == 40, "plug-in metadata layout");
static_assert(sizeof(ADClientOperations) == 136, "plug-in table layout");

namespace {

const int kJoinAttempts = 4;
const std::size_t kMaxStackTexts = 1024;
const unsigned int kJoinRetrySeconds = 30;

// The name becomes part of a path, so it must not climb out of the plug-in
// directory (nor cut the path short with a NUL).
void CheckPlainFileName(const std::string& name) {
  if (!IsPlainPluginName(name)) {
    throw InvalidActiveDirectoryProviderException(name, kPlainPluginNameRule);
  }
}

std::string TextOrEmpty(const char* text) {
  return text != nullptr ? std::string(text) : std::string();
}

void AppendWords(const char* text, std::list<std::string>& words) {
  if (text == nullptr) return;
  std::istringstream in(text);
  std::string word;
  while (in >> word) words.push_back(word);
}

template <class Slot>
Slot Implemented(Slot slot) {
  if (slot == nullptr) throw CallNotImplementedException();
  return slot;
}

template <class Slot>
Slot ImplementedSinceVersion2(const ADClientOperations& table, Slot slot) {
  if (table.version <= 1) throw CallNotImplementedException();
  return Implemented(slot);
}

void Check(ADClientStatus status) {
  if (status != ADCLIENT_STATUS_SUCCESS) ThrowMappedException(status);
}

// Gives data that the plug-in returned back to its release function once
// the copy is made, also when copying fails.
class Returned {
 public:
  Returned(void* data, ADClientReleaseFunction release)
      : data(data), release(release) {}
  ~Returned() {
    if (release != nullptr) release(data);
  }
  Returned(const Returned&) = delete;
  Returned& operator=(const Returned&) = delete;

 private:
  void* const data;
  const ADClientReleaseFunction release;
};

// Runs a slot that hands back one text; null reads as empty.
std::string TakeText(
    const std::function<ADClientStatus(char**, ADClientReleaseFunction*)>&
        call) {
  char* text = nullptr;
  ADClientReleaseFunction release = nullptr;
  Check(call(&text, &release));
  Returned returned(text, release);
  return TextOrEmpty(text);
}

// Runs a slot that hands back a null-terminated list of texts; a null list
// reads as empty.
template <class Container>
Container TakeTexts(
    const std::function<ADClientStatus(char***, ADClientReleaseFunction*)>&
        call) {
  char** texts = nullptr;
  ADClientReleaseFunction release = nullptr;
  Check(call(&texts, &release));
  Returned returned(texts, release);
  Container copy;
  for (char** text = texts; text != nullptr && *text != nullptr; ++text) {
    copy.push_back(*text);
  }
  return copy;
}

// A null-terminated list of the strings' texts, valid while they live.
template <class Container>
std::vector<const char*> TextList(const Container& strings) {
  std::vector<const char*> texts;
  texts.reserve(strings.size() + 1);
  for (const std::string& text : strings) texts.push_back(text.c_str());
  texts.push_back(nullptr);
  return texts;
}

bool IsRetryableJoinStatus(ADClientStatus status) {
  return status == ADCLIENT_STATUS_LOGON_FAILURE ||
         status == ADCLIENT_STATUS_PRIVATE_RETRY;
}

// A domain controller may not yet know a new account, so a failed logon is
// tried again; the sleep follows the last attempt too.
void JoinWithRetries(const std::function<ADClientStatus()>& attempt,
                     bool logAttempts) {
  ADClientStatus status = ADCLIENT_STATUS_SUCCESS;
  for (int n = 1; n <= kJoinAttempts; ++n) {
    if (logAttempts) {
      Log(LOG_INFO, "Adding host to domain: Attempt (%d/%d)", n,
          kJoinAttempts);
    }
    status = attempt();
    if (!IsRetryableJoinStatus(status)) break;
    sleep(kJoinRetrySeconds);
  }
  Check(status);
}

}  // namespace

ActiveDirectoryProvider::ActiveDirectoryProvider(
    const std::string& providerName)
    : handle(new DynamicLibrary), metadata(nullptr), operations(nullptr) {
  CheckPlainFileName(providerName);
  std::string error;
  if (!handle->OpenPlugin(providerName, error)) {
    throw IOError("Unable to open provider: " + error);
  }
  metadata = static_cast<const ADClientMetadata*>(
      LookUp(ACTIVE_DIRECTORY_CLIENT_METADATA_SYMBOL, providerName));
  // Read before closing: the record lives in the plug-in.
  const int32_t version = metadata->version;
  if (version > ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION) {
    handle->Close();
    throw InvalidActiveDirectoryProviderException(
        providerName, "The API version (" + std::to_string(version) +
                          ") is not supported by this version of libquarryauth");
  }
  operations = static_cast<const ADClientOperations*>(
      LookUp(ACTIVE_DIRECTORY_CLIENT_OPERATIONS_SYMBOL, providerName));
  CacheMetadata();
}

// The library is closed first; the module strings and lists go after it.
ActiveDirectoryProvider::~ActiveDirectoryProvider() { handle->Close(); }

const void* ActiveDirectoryProvider::LookUp(const char* symbol,
                                            const std::string& providerName) {
  std::string reason;
  const void* address = handle->Symbol(symbol, reason);
  if (address == nullptr) {
    handle->Close();
    throw InvalidActiveDirectoryProviderException(providerName, reason);
  }
  return address;
}

void ActiveDirectoryProvider::CacheMetadata() {
  pamModule = TextOrEmpty(metadata->pamModule);
  AppendWords(metadata->pamModuleParameters, pamModuleParameters);
  nssModule = TextOrEmpty(metadata->nssModule);
  AppendWords(metadata->nssModuleParameters, nssModuleParameters);
}

int32_t ActiveDirectoryProvider::GetAPIVersion() const {
  return operations->version;
}

void ActiveDirectoryProvider::JoinDomain(const std::string& domain,
                                         const std::string& organizationalUnit,
                                         const Credentials& credentials) const {
  auto join = Implemented(operations->JoinDomain);
  const char* unit =
      organizationalUnit.empty() ? nullptr : organizationalUnit.c_str();
  JoinWithRetries([&] { return join(domain.c_str(), unit, &credentials); },
                  false);
}

void ActiveDirectoryProvider::JoinDomainWithMachineAccount(
    const CAM::DirectoryDomainInfo& domain,
    const CAM::MachineAccountInfo& account) const {
  auto join = ImplementedSinceVersion2(
      *operations, operations->JoinDomainWithMachineAccount);
  const ADClientDirectoryDomainInfo flatDomain = {
      domain.reserved.c_str(), domain.netbiosDomainName.c_str(),
      domain.dnsDomainName.c_str(), domain.domainSid.c_str()};
  const ADClientMachineAccountInfo flatAccount = {
      account.hostShortName.c_str(), account.dnsDomainName.c_str(),
      account.reserved.c_str(), account.principalSecond.c_str(),
      account.principalThird.c_str()};
  JoinWithRetries([&] { return join(&flatDomain, &flatAccount); }, true);
}

void ActiveDirectoryProvider::PartDomain() const {
  Check(Implemented(operations->PartDomain)(nullptr));
}

void ActiveDirectoryProvider::PartDomain(const Credentials& credentials) const {
  Check(Implemented(operations->PartDomain)(&credentials));
}

Domain ActiveDirectoryProvider::GetActiveDomain() const {
  auto get = Implemented(operations->GetActiveDomain);
  ADClientDomainName name = {nullptr, nullptr};
  ADClientReleaseFunction release = nullptr;
  Check(get(&name, &release));
  // The two texts are separate allocations; only those set are released.
  Returned dnsName(name.dnsName, name.dnsName ? release : nullptr);
  Returned netbiosName(name.netbiosName, name.netbiosName ? release : nullptr);
  return Domain(TextOrEmpty(name.dnsName), TextOrEmpty(name.netbiosName));
}

void ActiveDirectoryProvider::SetPreferredDomainControllers(
    const std::deque<std::string>& hostNames) const {
  auto set = Implemented(operations->SetPreferredDomainControllers);
  Check(set(TextList(hostNames).data()));
}

std::deque<std::string> ActiveDirectoryProvider::GetPreferredDomainControllers()
    const {
  auto get = Implemented(operations->GetPreferredDomainControllers);
  return TakeTexts<std::deque<std::string>>(get);
}

TrustState ActiveDirectoryProvider::GetDomainTrustState() const {
  return Implemented(operations->GetDomainTrustState)();
}

std::deque<Domain> ActiveDirectoryProvider::GetTrustedDomains() const {
  auto get = Implemented(operations->GetTrustedDomains);
  ADClientDomainName** names = nullptr;
  ADClientReleaseFunction release = nullptr;
  Check(get(&names, &release));
  Returned returned(names, release);
  std::deque<Domain> domains;
  for (ADClientDomainName** name = names; name != nullptr && *name != nullptr;
       ++name) {
    domains.emplace_back(TextOrEmpty((*name)->dnsName),
                         TextOrEmpty((*name)->netbiosName));
  }
  return domains;
}

std::string ActiveDirectoryProvider::GetMachineAccountDN() const {
  return TakeText(Implemented(operations->GetMachineAccountDN));
}

std::string ActiveDirectoryProvider::GetAnyDomainController(
    const std::string& first, const std::string& domain) const {
  auto get = Implemented(operations->GetAnyDomainController);
  const char* firstText = first.empty() ? nullptr : first.c_str();
  return TakeText([&](char** text, ADClientReleaseFunction* release) {
    return get(firstText, domain.c_str(), text, release);
  });
}

std::string ActiveDirectoryProvider::ConvertCanonicalUsername(
    const std::string& name) const {
  auto convert = Implemented(operations->ConvertCanonicalUsername);
  return TakeText([&](char** text, ADClientReleaseFunction* release) {
    return convert(name.c_str(), text, release);
  });
}

std::string ActiveDirectoryProvider::GetHostPrincipalForDomain(
    const std::string& domain) const {
  auto get = ImplementedSinceVersion2(*operations,
                                      operations->GetHostPrincipalForDomain);
  return TakeText([&](char** text, ADClientReleaseFunction* release) {
    return get(domain.c_str(), text, release);
  });
}

uint32_t ActiveDirectoryProvider::GetDomainTrustRelationship(
    const std::string& domain) const {
  return Implemented(operations->GetDomainTrustRelationship)(domain.c_str());
}

void ActiveDirectoryProvider::SetSmartCardEnabledServices(
    const std::vector<std::string>& services) const {
  auto set = Implemented(operations->SetSmartCardEnabledServices);
  // A service list is short: its pointers live on the call's own stack. An
  // unreasonably long one goes to the heap rather than overflow the stack.
  if (services.size() >= kMaxStackTexts) {
    Check(set(TextList(services).data()));
    return;
  }
  const char** texts = static_cast<const char**>(
      alloca((services.size() + 1) * sizeof(const char*)));
  std::size_t n = 0;
  for (const std::string& service : services) texts[n++] = service.c_str();
  texts[n] = nullptr;
  Check(set(texts));
}

std::vector<std::string> ActiveDirectoryProvider::GetSmartCardEnabledServices()
    const {
  auto get = Implemented(operations->GetSmartCardEnabledServices);
  return TakeTexts<std::vector<std::string>>(get);
}

}  // namespace authentication
}  // namespace quarry
