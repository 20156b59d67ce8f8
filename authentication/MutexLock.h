// Holds a pthread mutex for the lifetime of a scope. Internal; not installed.
#ifndef QUARRYAUTH_AUTHENTICATION_MUTEXLOCK_H
#define QUARRYAUTH_AUTHENTICATION_MUTEXLOCK_H

#include <pthread.h>

namespace quarry {
namespace authentication {

class MutexLock {
 public:
  explicit MutexLock(pthread_mutex_t* mutex) : mutex(mutex) {
    pthread_mutex_lock(mutex);
  }
  ~MutexLock() { pthread_mutex_unlock(mutex); }

  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  pthread_mutex_t* const mutex;
};

}  // namespace authentication
}  // namespace quarry

#endif
