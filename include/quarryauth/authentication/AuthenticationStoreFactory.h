// Lists the kinds of store by name and creates them.
#ifndef QUARRYAUTH_AUTHENTICATION_AUTHENTICATIONSTOREFACTORY_H
#define QUARRYAUTH_AUTHENTICATION_AUTHENTICATIONSTOREFACTORY_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "AuthenticationStore.h"
#include "Export.h"

namespace quarry {
namespace authentication {

class ActiveDirectoryStore;
class NoRemoteAuthenticationStore;

// Points at the most recently constructed T; null once any T is destroyed.
template <class T>
class QUARRYAUTH_EXPORT Singleton {
 public:
  static T* _instance;
};

class QUARRYAUTH_EXPORT AuthenticationStoreFactory {
 public:
  using ConstructorFunction = std::unique_ptr<AuthenticationStore> (*)();

  // Registers "Active Directory" and "None" and becomes the _instance.
  AuthenticationStoreFactory();
  ~AuthenticationStoreFactory();

  AuthenticationStoreFactory(const AuthenticationStoreFactory&) = delete;
  AuthenticationStoreFactory& operator=(const AuthenticationStoreFactory&) =
      delete;

  // The first registration of a name wins; later ones are ignored.
  void RegisterType(const std::string& name, ConstructorFunction constructor);
  // Empty when the name is not registered.
  std::unique_ptr<AuthenticationStore> CreateInstance(const std::string& name);
  // In byte-wise name order.
  std::vector<std::string> GetRegisteredStores() const;

 private:
  std::map<std::string, ConstructorFunction> constructors;
};

// A ConstructorFunction that makes a T with its default arguments.
template <class T>
std::unique_ptr<AuthenticationStore> Constructor() {
  return std::unique_ptr<AuthenticationStore>(new T());
}

// The directory store's provider calls time out after 60 seconds.
template <>
QUARRYAUTH_EXPORT std::unique_ptr<AuthenticationStore>
Constructor<ActiveDirectoryStore>();

// The library holds the one _instance and the built-in constructors.
extern template class QUARRYAUTH_EXPORT Singleton<AuthenticationStoreFactory>;
extern template QUARRYAUTH_EXPORT std::unique_ptr<AuthenticationStore>
Constructor<NoRemoteAuthenticationStore>();

}  // namespace authentication
}  // namespace quarry

#endif
