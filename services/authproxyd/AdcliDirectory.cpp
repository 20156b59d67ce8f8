#include "services/authproxyd/AdcliDirectory.h"

#include "common/ChildProcess.h"
#include "services/authproxyd/AccountRules.h"
#include "services/authproxyd/ServicePassword.h"

#include <cstring>

namespace quarry::authproxyd {

namespace {

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

AdcliDirectory::AdcliDirectory(const ProxySettings& settings)
    : settings_(settings) {}

std::vector<std::string> AdcliDirectory::Command(
    const std::string& name) const {
  std::vector<std::string> arguments = {"adcli", name,
                                        "--domain=" + settings_.domain};
  if (!settings_.domainController.empty()) {
    arguments.push_back("--domain-controller=" + settings_.domainController);
  }
  arguments.push_back("--login-user=" + settings_.serviceUser);
  arguments.push_back("--stdin-password");
  arguments.push_back("--verbose");
  return arguments;
}

std::string AdcliDirectory::Run(const std::vector<std::string>& arguments,
                                Clock::time_point deadline, bool& succeeded) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - Clock::now());
  if (left.count() <= 0) throw DirectoryError("adcli did not finish in time", true);
  std::string password;
  try {
    password = ReadServicePassword(settings_.passwordFile);
  } catch (const SettingsError& error) {
    throw DirectoryError(error.what(), false);
  }
  const common::ChildResult result = common::RunChild(
      arguments, password + "\n", left, common::ChildErrors::IntoOutput);
  if (!result.started) {
    throw DirectoryError("cannot run " + arguments.front() + ": " +
                             std::strerror(result.startError),
                         false);
  }
  if (result.timedOut) throw DirectoryError("adcli did not finish in time", true);
  if (!identity_) identity_ = LookedUpDomain(result.output, settings_.domain);
  succeeded = result.exitStatus == 0;
  return result.output;
}

DomainIdentity AdcliDirectory::Domain() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (identity_) return *identity_;
  // Any authenticated command looks the domain up on connecting; showing
  // this host's own account is harmless whether or not it exists.
  bool succeeded = false;
  const std::string output =
      Run(Command("show-computer"),
          Clock::now() + std::chrono::seconds(settings_.adcliTimeoutSeconds),
          succeeded);
  if (!identity_) throw DirectoryError(AdcliFailure(output), false);
  return *identity_;
}

std::string AdcliDirectory::Preset(const std::string& hostName,
                                   const std::string& container,
                                   const std::string& oneTimePassword,
                                   Clock::time_point deadline,
                                   bool& succeeded) {
  std::vector<std::string> arguments = Command("preset-computer");
  if (!container.empty()) arguments.push_back("--domain-ou=" + container);
  // adcli takes the one-time password only as an argument; it is never
  // logged, and the account's holder changes it on joining.
  arguments.push_back("--one-time-password=" + oneTimePassword);
  arguments.push_back(hostName);
  return Run(arguments, deadline, succeeded);
}

std::string AdcliDirectory::CreateComputer(const std::string& hostName,
                                           const std::string& container,
                                           const std::string& oneTimePassword) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Clock::time_point deadline =
      Clock::now() + std::chrono::seconds(settings_.adcliTimeoutSeconds);
  std::string where = container.empty() ? settings_.defaultContainer : container;
  bool succeeded = false;
  std::string output =
      Preset(hostName, where, oneTimePassword, deadline, succeeded);
  if (!succeeded && Contains(output, "already exists")) {
    const std::string existing = FoundAccount(output);
    if (existing.empty() ||
        !IsWithinContainer(existing, settings_.baseContainer)) {
      throw AccountConflict(
          "the computer account for " + hostName + " exists" +
          (existing.empty() ? std::string() : " as " + existing) +
          ", outside the proxy's base container \"" +
          settings_.baseContainer + "\"; the proxy does not reset it");
    }
    // adcli presets new accounts only; a reset is a delete and a create.
    std::vector<std::string> arguments = Command("delete-computer");
    arguments.push_back(hostName);
    const std::string deleted = Run(arguments, deadline, succeeded);
    if (!succeeded) throw DirectoryError(AdcliFailure(deleted), false);
    if (container.empty() && !FoundAccount(deleted).empty()) {
      where = ParentDN(FoundAccount(deleted));
    }
    output = Preset(hostName, where, oneTimePassword, deadline, succeeded);
  }
  if (!succeeded) throw DirectoryError(AdcliFailure(output), false);
  const std::string dn = CreatedAccount(output);
  if (dn.empty()) {
    throw DirectoryError("adcli named no created computer account", false);
  }
  return dn;
}

}  // namespace quarry::authproxyd
