#include "authentication/CountedSleeps.h"

#include <mutex>

#include "support/Interpose.h"

namespace {
std::mutex sleepLock;
std::vector<unsigned int> sleeps;
}  // namespace

namespace quarryauth_test {

std::vector<unsigned int> Sleeps() {
  std::lock_guard<std::mutex> lock(sleepLock);
  return sleeps;
}

int SleepCalls() { return static_cast<int>(Sleeps().size()); }

}  // namespace quarryauth_test

QUARRY_TEST_INTERPOSE unsigned int sleep(unsigned int seconds) {
  std::lock_guard<std::mutex> lock(sleepLock);
  sleeps.push_back(seconds);
  return 0;
}
