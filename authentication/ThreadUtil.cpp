#include <quarryauth/authentication/ThreadUtil.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/time.h>

#include "authentication/MutexLock.h"

namespace quarry {
namespace authentication {

namespace {

using Task = std::function<void()>;

// The detail of a thread error is the literal with its first rc characters
// cut off; the code itself is deliberately not printed. A code longer than
// the literal leaves nothing.
std::string CutLiteral(const char* literal, int rc) {
  size_t length = std::strlen(literal);
  size_t start = rc < 0 ? 0 : static_cast<size_t>(rc);
  return start < length ? std::string(literal + start) : std::string();
}

void* RunTask(void* argument) {
  std::unique_ptr<Task> task(static_cast<Task*>(argument));
  (*task)();
  return nullptr;
}

}  // namespace

void QuarryauthThreadUtil::ScheduleThread(std::function<void()> task) {
  std::unique_ptr<Task> heapTask(new Task(std::move(task)));
  pthread_t thread;
  int rc = pthread_create(&thread, nullptr, &RunTask, heapTask.get());
  if (rc != 0) {
    throw ThreadErrorException(CutLiteral("pthread_create failed. RC=", rc));
  }
  heapTask.release();  // the thread owns it now
  pthread_detach(thread);
}

RequestState::RequestState() : done(false) {
  pthread_mutex_init(&mutex, nullptr);
  pthread_cond_init(&condition, nullptr);
}

RequestState::~RequestState() {
  pthread_cond_destroy(&condition);
  pthread_mutex_destroy(&mutex);
}

void RequestState::Done(const Exception* failure) {
  MutexLock lock(&mutex);
  done = true;
  if (failure != nullptr) {
    error.reset(failure->Clone());
  }
  pthread_cond_signal(&condition);
}

void RequestState::WaitResult(int timeoutSeconds) {
  timeval now;
  gettimeofday(&now, nullptr);
  timespec deadline;
  deadline.tv_sec = now.tv_sec + timeoutSeconds;
  deadline.tv_nsec = now.tv_usec * 1000;

  MutexLock lock(&mutex);
  for (;;) {
    if (done) {
      // Raised while the lock is held, so that a later Done cannot free
      // the error under us; the lock is released as the copy propagates.
      if (error) error->Throw();
      return;
    }
    int rc = pthread_cond_timedwait(&condition, &mutex, &deadline);
    if (rc == ETIMEDOUT) {
      throw ProviderCallTimedOutException();
    }
    if (rc != 0) {
      throw ThreadErrorException(
          CutLiteral("pthread_cond_timedwait failed. RC=", rc));
    }
  }
}

}  // namespace authentication
}  // namespace quarry
