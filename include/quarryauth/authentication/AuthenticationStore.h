// The interface of an authentication store, the kinds of store, and the
// settings objects that stores hand out.
#ifndef QUARRYAUTH_AUTHENTICATION_AUTHENTICATIONSTORE_H
#define QUARRYAUTH_AUTHENTICATION_AUTHENTICATIONSTORE_H

#include <deque>
#include <string>

#include "Domain.h"
#include "Export.h"

namespace quarry {
namespace authentication {

class Configuration;

// A store's settings; callers delete them through this base.
class QUARRYAUTH_EXPORT StoreConfiguration {
 public:
  virtual ~StoreConfiguration();
};

class QUARRYAUTH_EXPORT NoRemoteAuthenticationStoreConfiguration
    : public StoreConfiguration {
 public:
  ~NoRemoteAuthenticationStoreConfiguration() override;
};

class QUARRYAUTH_EXPORT ActiveDirectoryStoreConfiguration
    : public StoreConfiguration {
 public:
  ~ActiveDirectoryStoreConfiguration() override;

  Domain activeDomain;  // empty names when not joined or unknown
  std::deque<std::string> preferredDomainControllers;
  std::string machineAccountDN;
};

class QUARRYAUTH_EXPORT AuthenticationStore {
 public:
  // A new object of the store's own configuration class, owned by the
  // caller.
  virtual StoreConfiguration* GetStoreConfiguration() const = 0;
  // The factory key, also the name recorded for the active store.
  virtual std::string GetDisplayName() const = 0;
  // Whether the library configuration file records this store as active.
  virtual bool IsActive() const = 0;
  virtual void MakeActive() = 0;
  virtual ~AuthenticationStore();
};

// A store that can be switched off again.
class QUARRYAUTH_EXPORT RemoteAuthenticationStore : public AuthenticationStore {
 public:
  // Reads "remote-authentication-store" of authentication.conf; a missing
  // key means no store is active. Throws IOError when the file is missing.
  bool IsActive() const override;
  ~RemoteAuthenticationStore() override;
  virtual void MakeInactive() = 0;

 protected:
  // The entry that names the active store.
  static std::string& ActiveStoreName(Configuration& configuration);
  // Records this store as the active one and writes the file.
  void RecordAsActive(Configuration& configuration) const;
};

// Base of the stores that are directory services.
class QUARRYAUTH_EXPORT DirectoryStore : public RemoteAuthenticationStore {
 public:
  ~DirectoryStore() override;
};

}  // namespace authentication
}  // namespace quarry

#endif
