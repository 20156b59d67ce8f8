// What a join shows while it runs. The library tries a failed logon again,
// up to four attempts, sleeping 30 seconds after each failure, and tells
// its caller nothing meanwhile (a proxy join logs its attempts to the
// system log; a join with an account does not even that). So a watcher
// looks at the joining thread: a 30-second sleep of that thread is the
// library waiting to try again. Each failed attempt and each new one gets a
// line on standard error; on a terminal a line below counts the seconds.
#ifndef QUARRYAUTHCTL_JOINPROGRESS_H
#define QUARRYAUTHCTL_JOINPROGRESS_H

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace quarryauthctl {

class JoinProgress {
 public:
  // Made on the thread that then joins.
  explicit JoinProgress(const std::string& what);
  ~JoinProgress();
  JoinProgress(const JoinProgress&) = delete;
  JoinProgress& operator=(const JoinProgress&) = delete;

 private:
  void Watch();
  bool JoinerWaitsToRetry() const;
  void NextAttempt();
  void Say(const std::string& line);
  void ShowClock(long seconds);

  const std::string what;
  const pid_t joiner;
  const bool terminal;
  int attempt = 1;
  std::string shownAttempt;  // "attempt N of 4" once a retry has begun
  std::mutex lock;
  std::condition_variable stopped;
  bool done = false;
  std::thread watcher;
};

}  // namespace quarryauthctl

#endif
