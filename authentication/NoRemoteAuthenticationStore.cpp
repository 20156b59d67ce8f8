#include <quarryauth/authentication/NoRemoteAuthenticationStore.h>

#include <memory>
#include <stdexcept>

#include <quarryauth/authentication/AuthenticationStoreFactory.h>
#include <quarryauth/authentication/Exception.h>
#include <quarryauth/authentication/LibraryConfiguration.h>

namespace quarry {
namespace authentication {

NoRemoteAuthenticationStore::NoRemoteAuthenticationStore() = default;
NoRemoteAuthenticationStore::~NoRemoteAuthenticationStore() = default;

StoreConfiguration* NoRemoteAuthenticationStore::GetStoreConfiguration()
    const {
  return new NoRemoteAuthenticationStoreConfiguration(configuration);
}

std::string NoRemoteAuthenticationStore::GetDisplayName() const {
  return "None";
}

void NoRemoteAuthenticationStore::MakeActive() {
  AuthenticationConfiguration file;
  const std::string previous = ActiveStoreName(file);
  if (previous == GetDisplayName()) return;
  // "None" is recorded before the previous store is dealt with, so that a
  // failure there still leaves remote authentication switched off.
  RecordAsActive(file);
  Deactivate(previous);
}

void NoRemoteAuthenticationStore::MakeInactive() {
  throw std::runtime_error("Attempted to disable None Store");
}

void NoRemoteAuthenticationStore::Deactivate(const std::string& storeName) {
  AuthenticationStoreFactory* factory =
      Singleton<AuthenticationStoreFactory>::_instance;
  std::unique_ptr<AuthenticationStore> store;
  if (factory != nullptr) store = factory->CreateInstance(storeName);
  if (!store) throw UnknownRemoteAuthenticationStoreException(storeName);
  auto* remote = dynamic_cast<RemoteAuthenticationStore*>(store.get());
  if (remote == nullptr) {
    store.reset();
    throw InvalidRemoteAuthenticationStoreException(storeName);
  }
  remote->MakeInactive();
}

}  // namespace authentication
}  // namespace quarry
