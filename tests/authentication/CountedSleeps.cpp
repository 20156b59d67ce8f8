#include "authentication/CountedSleeps.h"

#include <mutex>
#include <unistd.h>

namespace {
std::mutex sleepLock;
std::vector<unsigned int> sleeps;
}  // namespace

namespace quarryauth_test {

std::vector<unsigned int> Sleeps() {
  std::lock_guard<std::mutex> lock(sleepLock);
  return sleeps;
}

}  // namespace quarryauth_test

extern "C" __attribute__((visibility("default"))) unsigned int sleep(
    unsigned int seconds) {
  std::lock_guard<std::mutex> lock(sleepLock);
  sleeps.push_back(seconds);
  return 0;
}
