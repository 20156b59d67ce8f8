// Detached worker threads and the meeting point between a worker and the
// caller that waits for it with a time-out.
#ifndef QUARRYAUTH_AUTHENTICATION_THREADUTIL_H
#define QUARRYAUTH_AUTHENTICATION_THREADUTIL_H

#include <functional>
#include <memory>
#include <pthread.h>

#include "Exception.h"
#include "Export.h"

namespace quarry {
namespace authentication {

class QUARRYAUTH_EXPORT QuarryauthThreadUtil {
 public:
  // Runs task on a new detached thread. Throws ThreadErrorException when no
  // thread can be created. The task must not let an exception escape.
  static void ScheduleThread(std::function<void()> task);
};

// Shared (through a thread-safe reference count) by one caller and one
// worker, so that either may be the last to let go of it.
class QUARRYAUTH_EXPORT RequestState {
 public:
  RequestState();
  ~RequestState();

  RequestState(const RequestState&) = delete;
  RequestState& operator=(const RequestState&) = delete;

  // Called by the worker once, as its last action; error null on success.
  void Done(const Exception* error);

  // Returns when the worker has succeeded; raises a copy of the worker's
  // error with its own class; throws ProviderCallTimedOutException when
  // the worker has not finished within timeoutSeconds.
  void WaitResult(int timeoutSeconds);

 private:
  bool done;
  std::unique_ptr<Exception> error;
  pthread_mutex_t mutex;
  pthread_cond_t condition;
};

}  // namespace authentication
}  // namespace quarry

#endif
