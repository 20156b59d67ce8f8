#include "services/authproxyd/ServiceCredentials.h"

#include <ctime>

#include "common/PluginText.h"
#include "services/authproxyd/AccountDirectory.h"
#include "services/authproxyd/ServicePassword.h"

namespace quarry::authproxyd {

namespace {

// Tickets this close to their end are renewed first: a request must not
// start with tickets that expire while it works.
constexpr long kRenewBeforeSeconds = 15 * 60;

}  // namespace

std::shared_ptr<const ServiceLogin> ServiceCredentials::Current() {
  std::string password;
  try {
    password = ReadServicePassword(settings_.passwordFile);
  } catch (const SettingsError& error) {
    throw DirectoryError(error.what(), false);
  }
  // One login at a time: requests that arrive together share it.
  const std::lock_guard<std::mutex> lock(mutex_);
  if (login_ && password == password_ &&
      login_->ExpiresAt() - std::time(nullptr) > kRenewBeforeSeconds) {
    return login_;
  }
  login_.reset();
  login_ = std::make_shared<const ServiceLogin>(
      settings_.serviceUser, plugin::ToUpper(settings_.domain), password);
  password_ = password;
  return login_;
}

}  // namespace quarry::authproxyd
