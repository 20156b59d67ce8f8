// A fixed number of threads that do the requests' work, so that a slow
// directory ties up a bounded number of them while the HTTP threads still
// answer every request by its deadline. Work that has waited past its
// deadline is never started: its client has been answered already.
#ifndef QUARRY_AUTHPROXYD_REQUESTWORKERS_H
#define QUARRY_AUTHPROXYD_REQUESTWORKERS_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "services/authproxyd/AccountDirectory.h"
#include "services/authproxyd/Answer.h"

namespace quarry::authproxyd {

class RequestWorkers {
 public:
  explicit RequestWorkers(int count);
  // Stops, then waits for the work under way.
  ~RequestWorkers();
  RequestWorkers(const RequestWorkers&) = delete;
  RequestWorkers& operator=(const RequestWorkers&) = delete;

  // work's answer, or nothing when it had not finished by deadline. work
  // must own what it uses: it may still run after this returns. When a
  // worker is free, work is started only if the deadline has not passed
  // and wanted (when given) still says yes.
  std::optional<Answer> Run(std::function<Answer()> work,
                            Clock::time_point deadline,
                            std::function<bool()> wanted = nullptr);

  // From any thread: queued work is dropped, and every caller of Run
  // returns at once with nothing, so that the service can stop without
  // waiting for its requests' deadlines. Work under way runs on.
  void Stop();
  bool Stopped();

 private:
  struct Task;

  void Work();

  std::mutex mutex_;
  std::condition_variable queued_;
  std::condition_variable answered_;
  std::deque<std::shared_ptr<Task>> queue_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace quarry::authproxyd

#endif
