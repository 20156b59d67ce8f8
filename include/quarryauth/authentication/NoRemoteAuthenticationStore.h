// The "None" store: no remote authentication.
#ifndef QUARRYAUTH_AUTHENTICATION_NOREMOTEAUTHENTICATIONSTORE_H
#define QUARRYAUTH_AUTHENTICATION_NOREMOTEAUTHENTICATIONSTORE_H

#include <string>

#include "AuthenticationStore.h"
#include "Export.h"

namespace quarry {
namespace authentication {

class QUARRYAUTH_EXPORT NoRemoteAuthenticationStore
    : public RemoteAuthenticationStore {
 public:
  NoRemoteAuthenticationStore();

  StoreConfiguration* GetStoreConfiguration() const override;
  std::string GetDisplayName() const override;
  // Records "None", then asks the previously recorded store, created
  // through the live factory, to make itself inactive. Does nothing when
  // "None" is already recorded.
  void MakeActive() override;
  ~NoRemoteAuthenticationStore() override;
  // Always throws std::runtime_error: one leaves "None" by activating
  // another store.
  void MakeInactive() override;

 private:
  static void Deactivate(const std::string& storeName);

  NoRemoteAuthenticationStoreConfiguration configuration;
};

}  // namespace authentication
}  // namespace quarry

#endif
