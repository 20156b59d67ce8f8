// What the proxy asks of the domain's directory, as its service account:
// one conversation per request. LdapDirectory.h speaks it over LDAP; tests
// of the proxy's rules speak it to a directory of their own.
#ifndef QUARRY_AUTHPROXYD_ACCOUNTDIRECTORY_H
#define QUARRY_AUTHPROXYD_ACCOUNTDIRECTORY_H

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace quarry::authproxyd {

using Clock = std::chrono::steady_clock;

struct DomainIdentity {
  std::string netbiosName;
  std::string dnsName;
  std::string sid;
};

struct ExistingComputer {
  std::string dn;
  std::string managedBy;  // a DN; empty when the account has none
};

struct NewComputer {
  std::string dn;            // CN=<computerName>,<container>
  std::string computerName;  // NODE1
  std::string hostName;      // node1.ad.test
  std::string password;
  std::string managedBy;     // the proxy's service account
};

// The directory did not do what was asked; what() says why.
class DirectoryError : public std::runtime_error {
 public:
  DirectoryError(const std::string& what, bool timedOut)
      : std::runtime_error(what), timedOut_(timedOut) {}
  bool TimedOut() const { return timedOut_; }

 private:
  bool timedOut_;
};

// An existing account that the proxy may not reset; what() says why.
// Nothing was changed.
class AccountConflict : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Every operation throws DirectoryError when the directory refuses or does
// not answer in time.
class AccountDirectory {
 public:
  virtual ~AccountDirectory() = default;
  virtual DomainIdentity Domain() = 0;
  // The DN of the account the proxy works as.
  virtual std::string ServiceAccountDN() = 0;
  // The computer account whose sAMAccountName is computerName + "$".
  virtual std::optional<ExistingComputer> FindComputer(
      const std::string& computerName) = 0;
  // Creates the account, enabled, with its password, in one operation.
  virtual void AddComputer(const NewComputer& computer) = 0;
  // Moves the account dn to container (when it is elsewhere) and gives it
  // password, enabled; returns its DN afterwards.
  virtual std::string ResetComputer(const std::string& dn,
                                    const std::string& container,
                                    const std::string& password) = 0;
};

// Opens conversations with the directory.
class DirectoryConnector {
 public:
  virtual ~DirectoryConnector() = default;
  // Logs in and connects; the conversation's operations end by deadline.
  virtual std::unique_ptr<AccountDirectory> Open(Clock::time_point deadline) = 0;
};

}  // namespace quarry::authproxyd

#endif
