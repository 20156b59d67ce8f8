#include <quarryauth/authentication/AuthenticationStore.h>

#include <quarryauth/authentication/LibraryConfiguration.h>

namespace quarry {
namespace authentication {

StoreConfiguration::~StoreConfiguration() = default;
NoRemoteAuthenticationStoreConfiguration::
    ~NoRemoteAuthenticationStoreConfiguration() = default;
ActiveDirectoryStoreConfiguration::~ActiveDirectoryStoreConfiguration() =
    default;

AuthenticationStore::~AuthenticationStore() = default;

RemoteAuthenticationStore::~RemoteAuthenticationStore() = default;

bool RemoteAuthenticationStore::IsActive() const {
  AuthenticationConfiguration configuration;
  return ActiveStoreName(configuration) == GetDisplayName();
}

std::string& RemoteAuthenticationStore::ActiveStoreName(
    Configuration& configuration) {
  return configuration["remote-authentication-store"];
}

void RemoteAuthenticationStore::RecordAsActive(
    Configuration& configuration) const {
  ActiveStoreName(configuration) = GetDisplayName();
  configuration.Write();
}

DirectoryStore::~DirectoryStore() = default;

}  // namespace authentication
}  // namespace quarry
