// A line on the terminal that counts the seconds of a join. The library
// tells its caller nothing while it retries a failed logon (it sleeps 30
// seconds between at most four attempts), so the line says only what the
// clock proves: how long the join has run, and the highest attempt that it
// can have reached by then.
#ifndef QUARRYAUTHCTL_JOINPROGRESS_H
#define QUARRYAUTHCTL_JOINPROGRESS_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace quarryauthctl {

class JoinProgress {
 public:
  // Starts the line when standard error is a terminal; otherwise does
  // nothing.
  explicit JoinProgress(const std::string& what);
  // Stops and erases the line.
  ~JoinProgress();
  JoinProgress(const JoinProgress&) = delete;
  JoinProgress& operator=(const JoinProgress&) = delete;

  // The text shown after elapsedSeconds.
  static std::string Describe(const std::string& what, long elapsedSeconds);

 private:
  void Show();

  const std::string what;
  std::mutex lock;
  std::condition_variable stopped;
  bool done = false;
  std::thread shower;
};

}  // namespace quarryauthctl

#endif
