// One request at a time for each host name, so that two requests for the
// same account never interleave; requests for different hosts run side by
// side.
#ifndef QUARRY_AUTHPROXYD_HOSTLOCKS_H
#define QUARRY_AUTHPROXYD_HOSTLOCKS_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>

namespace quarry::authproxyd {

class HostLocks {
 public:
  // Held until destroyed when held() is true.
  class Lock {
   public:
    Lock(HostLocks& locks, const std::string& hostName,
         std::chrono::steady_clock::time_point deadline);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    // False when another request held the name until the deadline.
    bool held() const { return held_; }

   private:
    HostLocks& locks_;
    const std::string name_;
    bool held_ = false;
  };

 private:
  std::mutex mutex_;
  std::condition_variable released_;
  std::set<std::string> busy_;  // host names in lower case
};

}  // namespace quarry::authproxyd

#endif
