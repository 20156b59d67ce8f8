#include "services/authproxyd/HostLocks.h"

#include "common/PluginText.h"

namespace quarry::authproxyd {

HostLocks::Lock::Lock(HostLocks& locks, const std::string& hostName,
                      std::chrono::steady_clock::time_point deadline)
    : locks_(locks), name_(plugin::ToLower(hostName)) {
  std::unique_lock<std::mutex> guard(locks_.mutex_);
  held_ = locks_.released_.wait_until(guard, deadline, [this] {
    return locks_.busy_.count(name_) == 0;
  });
  if (held_) locks_.busy_.insert(name_);
}

HostLocks::Lock::~Lock() {
  if (!held_) return;
  {
    const std::lock_guard<std::mutex> guard(locks_.mutex_);
    locks_.busy_.erase(name_);
  }
  locks_.released_.notify_all();
}

}  // namespace quarry::authproxyd
