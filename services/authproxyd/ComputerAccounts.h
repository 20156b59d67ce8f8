// The proxy's rules for the accounts it creates, apart from HTTP and from
// how the directory is reached:
//
// - The domain's identity is known before any account is touched, so that
//   a join never has a fresh password but no domain to use it in.
// - A new account is created with its one-time password and with managedBy
//   naming the proxy's service account, in one directory operation.
// - An existing account is reset (moved when asked, new password) only if
//   it lies under the base container and its managedBy names the service
//   account, that is if this proxy (or another with the same settings)
//   created it. The mark is kept on the account itself rather than in a
//   file of the proxy's: every proxy with the same settings sees it, it
//   lives and dies with the account, and an administrator can see it, or
//   clear it to take the account out of the proxies' hands, with the
//   directory's own tools.
// - Requests for one host name run one at a time; nothing is changed once
//   the request's deadline has passed.
#ifndef QUARRY_AUTHPROXYD_COMPUTERACCOUNTS_H
#define QUARRY_AUTHPROXYD_COMPUTERACCOUNTS_H

#include <mutex>
#include <optional>
#include <string>

#include "services/authproxyd/AccountDirectory.h"
#include "services/authproxyd/HostLocks.h"
#include "services/authproxyd/ProxySettings.h"

namespace quarry::authproxyd {

class ComputerAccounts {
 public:
  ComputerAccounts(DirectoryConnector& connector, const ProxySettings& settings)
      : connector_(connector), settings_(settings) {}

  // The domain's names and SID; learnt once, then remembered. Throws
  // DirectoryError.
  DomainIdentity Domain(Clock::time_point deadline);

  // Creates or resets the account of hostName (a valid name in the domain)
  // in container (empty: the configured default, else CN=Computers, for a
  // new account; where it is, for an existing one) with password; returns
  // its DN. Throws AccountConflict or DirectoryError.
  std::string CreateComputer(const std::string& hostName,
                             const std::string& container,
                             const std::string& password,
                             Clock::time_point deadline);

 private:
  DomainIdentity KnownDomain(AccountDirectory& directory);
  std::string NewAccountContainer(const std::string& container) const;

  DirectoryConnector& connector_;
  const ProxySettings& settings_;
  HostLocks hosts_;
  std::mutex identityMutex_;
  std::optional<DomainIdentity> identity_;
};

// "NODE1" for "node1.ad.test": the first label in upper case, at most 15
// characters, as the directory plug-in names the host's account.
std::string ComputerNameOf(const std::string& hostName);

}  // namespace quarry::authproxyd

#endif
