// The service account's Kerberos tickets, shared by all requests. A login
// costs this host and the domain's KDC a password-to-key derivation, so it
// is done once, and again only when the tickets near their end or the
// password file holds another password.
#ifndef QUARRY_AUTHPROXYD_SERVICECREDENTIALS_H
#define QUARRY_AUTHPROXYD_SERVICECREDENTIALS_H

#include <memory>
#include <mutex>
#include <string>

#include "services/authproxyd/ProxySettings.h"
#include "services/authproxyd/ServiceLogin.h"

namespace quarry::authproxyd {

class ServiceCredentials {
 public:
  explicit ServiceCredentials(const ProxySettings& settings)
      : settings_(settings) {}

  // The login to bind with, logging in when there is none fit for use; a
  // caller keeps it for as long as it binds. Throws DirectoryError.
  std::shared_ptr<const ServiceLogin> Current();

 private:
  const ProxySettings& settings_;
  std::mutex mutex_;
  std::shared_ptr<const ServiceLogin> login_;
  std::string password_;
};

}  // namespace quarry::authproxyd

#endif
