// The directory as the proxy reaches it: adcli, run as the service account.
// adcli authenticates with Kerberos and signs and seals its LDAP traffic,
// which directories that refuse plain simple binds still accept; it also
// prints the domain's NetBIOS name and SID that it looks up on connecting,
// so no LDAP library of our own is needed.
#ifndef QUARRY_AUTHPROXYD_ADCLIDIRECTORY_H
#define QUARRY_AUTHPROXYD_ADCLIDIRECTORY_H

#include <chrono>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "services/authproxyd/AdcliOutput.h"
#include "services/authproxyd/ProxySettings.h"

namespace quarry::authproxyd {

// The directory did not do what was asked; what() is adcli's own reason.
class DirectoryError : public std::runtime_error {
 public:
  DirectoryError(const std::string& what, bool timedOut)
      : std::runtime_error(what), timedOut_(timedOut) {}
  bool TimedOut() const { return timedOut_; }

 private:
  bool timedOut_;
};

// An existing account that the proxy may not delete and create again;
// what() says why. Nothing was changed.
class AccountConflict : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class AdcliDirectory {
 public:
  explicit AdcliDirectory(const ProxySettings& settings);

  // The domain's names and SID; learnt once, then remembered.
  DomainIdentity Domain();

  // Creates the computer account for hostName in container (empty: the
  // configured default, else the domain's computers container) with the
  // one-time password and returns its DN. An existing account is deleted
  // and created again, in its old container unless one is asked for, if it
  // lies under the base container; otherwise AccountConflict.
  std::string CreateComputer(const std::string& hostName,
                             const std::string& container,
                             const std::string& oneTimePassword);

 private:
  using Clock = std::chrono::steady_clock;

  std::vector<std::string> Command(const std::string& name) const;
  std::string Run(const std::vector<std::string>& arguments,
                  Clock::time_point deadline, bool& succeeded);
  std::string Preset(const std::string& hostName, const std::string& container,
                     const std::string& oneTimePassword,
                     Clock::time_point deadline, bool& succeeded);

  const ProxySettings settings_;
  // One adcli conversation at a time: two requests for the same host must
  // not interleave their delete and create.
  std::mutex mutex_;
  std::optional<DomainIdentity> identity_;
};

}  // namespace quarry::authproxyd

#endif
