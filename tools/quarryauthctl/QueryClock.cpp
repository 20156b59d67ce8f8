#include "QueryClock.h"

namespace quarryauthctl {

QueryClock::QueryClock(int timeoutSeconds)
    : start(std::chrono::steady_clock::now()), timeout(timeoutSeconds) {}

bool QueryClock::RanOutOfTime() const {
  return std::chrono::steady_clock::now() - start >= timeout;
}

}  // namespace quarryauthctl
