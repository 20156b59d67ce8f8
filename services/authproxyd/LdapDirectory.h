// The directory as the proxy reaches it: LDAP to a domain controller,
// bound with Kerberos as the service account and sealed, so that the
// one-time password travels only inside the encrypted LDAP conversation
// (never on a command line, in an environment or in a file) and the
// account is created with its password in one operation.
#ifndef QUARRY_AUTHPROXYD_LDAPDIRECTORY_H
#define QUARRY_AUTHPROXYD_LDAPDIRECTORY_H

#include <memory>
#include <string>

#include "common/LdapSession.h"
#include "services/authproxyd/AccountDirectory.h"
#include "services/authproxyd/ProxySettings.h"
#include "services/authproxyd/ServiceCredentials.h"
#include "services/authproxyd/ServiceLogin.h"

namespace quarry::authproxyd {

class LdapDirectory : public AccountDirectory {
 public:
  // Binds with the service account's tickets to the configured
  // controller, else to the first that DNS names and that answers. Throws
  // DirectoryError.
  LdapDirectory(const ProxySettings& settings,
                std::shared_ptr<const ServiceLogin> login,
                Clock::time_point deadline);

  DomainIdentity Domain() override;
  std::string ServiceAccountDN() override;
  std::optional<ExistingComputer> FindComputer(
      const std::string& computerName) override;
  void AddComputer(const NewComputer& computer) override;
  std::string ResetComputer(const std::string& dn, const std::string& container,
                            const std::string& password) override;

 private:
  void Connect();
  // Bounds the next operation by what is left of the deadline; throws a
  // time-out when nothing is.
  void LimitNextOperation();
  // Throws DirectoryError for the LDAP result code error of what.
  [[noreturn]] void Fail(const std::string& what, int error) const;
  void Search(const std::string& base, int scope, const std::string& filter,
              const char* attribute, common::LdapMessage& result,
              const std::string& what);

  const ProxySettings& settings_;
  const Clock::time_point deadline_;
  const std::shared_ptr<const ServiceLogin> login_;
  std::string controller_;
  common::LdapConnection connection_;
  std::string domainDN_;
};

class LdapConnector : public DirectoryConnector {
 public:
  explicit LdapConnector(const ProxySettings& settings)
      : settings_(settings), credentials_(settings) {}
  std::unique_ptr<AccountDirectory> Open(Clock::time_point deadline) override;

 private:
  const ProxySettings& settings_;
  ServiceCredentials credentials_;
};

// The text form "S-1-5-21-..." of a binary security identifier; empty when
// binary is not one.
std::string SidText(const std::string& binary);

}  // namespace quarry::authproxyd

#endif
