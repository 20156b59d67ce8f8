// The proxy's service account logged in to Kerberos with its password: the
// tickets live in a credential cache in this process's memory, never on
// disk, and are destroyed with the object.
#ifndef QUARRY_AUTHPROXYD_SERVICELOGIN_H
#define QUARRY_AUTHPROXYD_SERVICELOGIN_H

#include <krb5/krb5.h>

#include <string>

namespace quarry::authproxyd {

class ServiceLogin {
 public:
  // user is "name" (in realm) or "name@REALM". Throws DirectoryError with
  // Kerberos's own words when the login fails.
  ServiceLogin(const std::string& user, const std::string& realm,
               const std::string& password);
  ~ServiceLogin();
  ServiceLogin(const ServiceLogin&) = delete;
  ServiceLogin& operator=(const ServiceLogin&) = delete;

  // "MEMORY:..." for the GSSAPI bind.
  const std::string& CacheName() const { return cacheName_; }
  // When the ticket-granting ticket expires, in seconds since the epoch.
  long ExpiresAt() const { return expiresAt_; }

 private:
  void Fail(const std::string& what, krb5_error_code code);
  void Release();

  krb5_context context_ = nullptr;
  krb5_principal principal_ = nullptr;
  krb5_ccache cache_ = nullptr;
  std::string cacheName_;
  long expiresAt_ = 0;
};

}  // namespace quarry::authproxyd

#endif
