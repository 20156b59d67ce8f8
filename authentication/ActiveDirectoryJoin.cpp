// Joining a domain with an administrator's credentials, and leaving it.
#include <quarryauth/authentication/ActiveDirectoryStore.h>

#include <syslog.h>

#include <string>

#include <quarryauth/authentication/ActiveDirectoryConfigStore.h>
#include <quarryauth/authentication/ActiveDirectoryProvider.h>
#include <quarryauth/authentication/Exception.h>
#include "authentication/Log.h"
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>

namespace quarry {
namespace authentication {

void ActiveDirectoryStore::JoinDomain(const std::string& domain,
                                      const Credentials& credentials,
                                      bool skipHostnameChecks) {
  // An empty but present user name is the plug-in's to judge.
  if (credentials.username == nullptr) {
    throw InvalidCredentialsException("no username was specified");
  }
  if (credentials.password == nullptr || credentials.password[0] == '\0') {
    throw InvalidCredentialsException(
        "empty or no password was specified; the account must have a "
        "non-empty password to join the host to domain");
  }
  const std::string::size_type slash = domain.find('/');
  const std::string domainName = domain.substr(0, slash);
  const std::string organizationalUnit =
      slash == std::string::npos ? std::string() : domain.substr(slash + 1);

  if (!skipHostnameChecks) SanitiseHostnameForDomain(domainName);
  provider->JoinDomain(domainName, organizationalUnit, credentials);
  RecordDomainOrLeave(domainName, organizationalUnit, std::string());
}

void ActiveDirectoryStore::RecordDomainOrLeave(
    const std::string& domainName, const std::string& organizationalUnit,
    const std::string& authProxyAddress) {
  try {
    ActiveDirectoryConfigStore configStore;
    configStore.StoreDomainInfo(domainName, organizationalUnit,
                                authProxyAddress);
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    // The plug-in and the record must never disagree on membership.
    Log(LOG_ERR,
        "Failed to store domain details to Config Store: %s.Leaving "
        "Domain...",
        error.what());
    provider->PartDomain();
    throw;
  }
}

void ActiveDirectoryStore::PartDomain() {
  provider->PartDomain();
  try {
    ActiveDirectoryConfigStore configStore;
    configStore.RemoveDomainInfo();
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    Log(LOG_ERR, "Failed to remove domain details from Config Store: %s",
        error.what());
    throw;
  }
}

void ActiveDirectoryStore::PartDomain(const Credentials& credentials) {
  provider->PartDomain(credentials);
}

}  // namespace authentication
}  // namespace quarry
