// Tells whether a status query of the Active Directory store was answered
// from its cache. The store waits for the plug-in at most its time-out and
// then answers from the cache, saying so only in the system log; so a query
// that took at least the time-out is taken to be such an answer. (A live
// answer that arrives in the very last instant is reported as cached too:
// the report errs towards caution.)
#ifndef QUARRYAUTHCTL_QUERYCLOCK_H
#define QUARRYAUTHCTL_QUERYCLOCK_H

#include <chrono>

namespace quarryauthctl {

class QueryClock {
 public:
  // Starts timing a query against timeoutSeconds.
  explicit QueryClock(int timeoutSeconds);
  bool RanOutOfTime() const;

 private:
  const std::chrono::steady_clock::time_point start;
  const std::chrono::seconds timeout;
};

}  // namespace quarryauthctl

#endif
