#include "services/authproxyd/ComputerAccounts.h"

#include "common/DistinguishedName.h"
#include "common/PluginText.h"
#include "services/authproxyd/AccountRules.h"

namespace quarry::authproxyd {

namespace {

void RequireTimeLeft(Clock::time_point deadline, const std::string& what) {
  if (Clock::now() >= deadline) {
    throw DirectoryError("the request's time limit passed before " + what +
                             "; nothing was changed",
                         true);
  }
}

}  // namespace

std::string ComputerNameOf(const std::string& hostName) {
  return plugin::ToUpper(hostName.substr(0, hostName.find('.')).substr(0, 15));
}

DomainIdentity ComputerAccounts::KnownDomain(AccountDirectory& directory) {
  {
    const std::lock_guard<std::mutex> lock(identityMutex_);
    if (identity_) return *identity_;
  }
  const DomainIdentity identity = directory.Domain();
  const std::lock_guard<std::mutex> lock(identityMutex_);
  identity_ = identity;
  return identity;
}

DomainIdentity ComputerAccounts::Domain(Clock::time_point deadline) {
  {
    const std::lock_guard<std::mutex> lock(identityMutex_);
    if (identity_) return *identity_;
  }
  return KnownDomain(*connector_.Open(deadline));
}

std::string ComputerAccounts::NewAccountContainer(
    const std::string& container) const {
  if (!container.empty()) return container;
  if (!settings_.defaultContainer.empty()) return settings_.defaultContainer;
  return "CN=Computers," + plugin::DomainComponents(settings_.domain);
}

std::string ComputerAccounts::CreateComputer(const std::string& hostName,
                                             const std::string& container,
                                             const std::string& password,
                                             Clock::time_point deadline) {
  const HostLocks::Lock lock(hosts_, hostName, deadline);
  if (!lock.held()) {
    throw DirectoryError("an earlier request for " + hostName +
                             " was still running when the time limit passed",
                         true);
  }
  const std::unique_ptr<AccountDirectory> directory = connector_.Open(deadline);
  KnownDomain(*directory);
  const std::string computerName = ComputerNameOf(hostName);
  const std::string serviceAccount = directory->ServiceAccountDN();
  const std::optional<ExistingComputer> existing =
      directory->FindComputer(computerName);
  if (!existing) {
    NewComputer computer;
    computer.computerName = computerName;
    computer.hostName = plugin::ToLower(hostName);
    computer.dn = "CN=" + computerName + "," + NewAccountContainer(container);
    computer.password = password;
    computer.managedBy = serviceAccount;
    RequireTimeLeft(deadline, "the account was created");
    directory->AddComputer(computer);
    return computer.dn;
  }
  if (!IsWithinContainer(existing->dn, settings_.baseContainer)) {
    throw AccountConflict("the computer account for " + hostName +
                          " exists as " + existing->dn +
                          ", outside the proxy's base container \"" +
                          settings_.baseContainer +
                          "\"; the proxy does not reset it");
  }
  if (!IsSameDN(existing->managedBy, serviceAccount)) {
    throw AccountConflict(
        "the computer account for " + hostName + " exists as " +
        existing->dn +
        " and was not created by this proxy (its managedBy does not name "
        "the proxy's service account " +
        serviceAccount + "); the proxy does not reset it");
  }
  RequireTimeLeft(deadline, "the account was reset");
  return directory->ResetComputer(
      existing->dn, container.empty() ? ParentDN(existing->dn) : container,
      password);
}

}  // namespace quarry::authproxyd
