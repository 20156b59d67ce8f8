// The Active Directory store: its life, its activation, and the settings
// and lookups that go straight to the directory plug-in. The rest of the
// class lives in files named for their concern: ActiveDirectoryStatusQueries
// (the three status queries with their workers, time-out and caches),
// ActiveDirectoryJoin (joining with credentials and leaving),
// ActiveDirectoryProxyJoin (joining through the authentication proxy and
// its certificate) and ActiveDirectoryHostname (the host-name checks before
// a join).
#include <quarryauth/authentication/ActiveDirectoryStore.h>

#include <syslog.h>

#include <string>

#include <quarryauth/authentication/ActiveDirectoryProvider.h>
#include <quarryauth/authentication/Exception.h>
#include <quarryauth/authentication/LibraryConfiguration.h>
#include "authentication/Log.h"

namespace quarry {
namespace authentication {

namespace {

std::string ConfiguredProviderName() {
  ProviderConfiguration configuration;
  std::string name = configuration["provider"];
  if (name.empty()) throw InvalidActiveDirectoryProviderException("(unset)");
  return name;
}

}  // namespace

ActiveDirectoryStore::ActiveDirectoryStore(int timeoutSeconds)
    : timeoutSeconds(timeoutSeconds),
      provider(new ActiveDirectoryProvider(ConfiguredProviderName())),
      configurationCache(new ActiveDirectoryStoreConfiguration()),
      trustStateCache(new TrustState(0)),
      trustedDomainsCache(new std::deque<Domain>()) {}

ActiveDirectoryStore::~ActiveDirectoryStore() = default;

std::string ActiveDirectoryStore::GetDisplayName() const {
  return "Active Directory";
}

void ActiveDirectoryStore::MakeActive() {
  AuthenticationConfiguration file;
  RecordAsActive(file);
}

void ActiveDirectoryStore::MakeInactive() {}

void ActiveDirectoryStore::SetPreferredDomainControllers(
    const std::deque<std::string>& hostNames) {
  try {
    provider->SetPreferredDomainControllers(hostNames);
  } catch (const CallNotImplementedException&) {
    Log(LOG_WARNING,
        "Setting of preferred domain controllers is not implemented.");
  }
}

std::string ActiveDirectoryStore::GetDomainControllerForDomain(
    const std::string& domain) const {
  try {
    return provider->GetAnyDomainController("", domain);
  } catch (const CallNotImplementedException&) {
    return "";
  }
}

std::string ActiveDirectoryStore::GetHostPrincipalForDomain(
    const std::string& domain) const {
  try {
    return provider->GetHostPrincipalForDomain(domain);
  } catch (const CallNotImplementedException&) {
    return "";
  }
}

uint32_t ActiveDirectoryStore::GetDomainTrustRelationship(
    const std::string& domain) const {
  try {
    return provider->GetDomainTrustRelationship(domain);
  } catch (const CallNotImplementedException&) {
    return 0;
  }
}

std::string ActiveDirectoryStore::ConvertCanonicalUsername(
    const std::string& name) const {
  try {
    return provider->ConvertCanonicalUsername(name);
  } catch (const CallNotImplementedException&) {
    return name;
  }
}

void ActiveDirectoryStore::SetSmartCardEnabledServices(
    const std::vector<std::string>& services) const {
  provider->SetSmartCardEnabledServices(services);
}

std::vector<std::string> ActiveDirectoryStore::GetSmartCardEnabledServices()
    const {
  return provider->GetSmartCardEnabledServices();
}

}  // namespace authentication
}  // namespace quarry
