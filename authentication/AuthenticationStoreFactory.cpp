#include <quarryauth/authentication/AuthenticationStoreFactory.h>

#include <quarryauth/authentication/ActiveDirectoryStore.h>
#include <quarryauth/authentication/NoRemoteAuthenticationStore.h>

namespace quarry {
namespace authentication {

namespace {

const int kActiveDirectoryTimeoutSeconds = 60;

}  // namespace

template <class T>
T* Singleton<T>::_instance = nullptr;

template class Singleton<AuthenticationStoreFactory>;
template std::unique_ptr<AuthenticationStore>
Constructor<NoRemoteAuthenticationStore>();

template <>
std::unique_ptr<AuthenticationStore> Constructor<ActiveDirectoryStore>() {
  return std::unique_ptr<AuthenticationStore>(
      new ActiveDirectoryStore(kActiveDirectoryTimeoutSeconds));
}

AuthenticationStoreFactory::AuthenticationStoreFactory() {
  Singleton<AuthenticationStoreFactory>::_instance = this;
  try {
    RegisterType("Active Directory", &Constructor<ActiveDirectoryStore>);
    RegisterType("None", &Constructor<NoRemoteAuthenticationStore>);
  } catch (...) {
    constructors.clear();
    Singleton<AuthenticationStoreFactory>::_instance = nullptr;
    throw;
  }
}

AuthenticationStoreFactory::~AuthenticationStoreFactory() {
  constructors.clear();
  Singleton<AuthenticationStoreFactory>::_instance = nullptr;
}

void AuthenticationStoreFactory::RegisterType(const std::string& name,
                                              ConstructorFunction constructor) {
  constructors.emplace(name, constructor);
}

std::unique_ptr<AuthenticationStore> AuthenticationStoreFactory::CreateInstance(
    const std::string& name) {
  auto entry = constructors.find(name);
  if (entry == constructors.end()) return nullptr;
  return entry->second();
}

std::vector<std::string> AuthenticationStoreFactory::GetRegisteredStores()
    const {
  std::vector<std::string> names;
  for (const auto& entry : constructors) names.push_back(entry.first);
  return names;
}

// The library's own factory, alive from load to unload.
static AuthenticationStoreFactory libraryFactory;

}  // namespace authentication
}  // namespace quarry
