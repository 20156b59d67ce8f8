#include "JoinProgress.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace quarryauthctl {

namespace {

const long kRetryWaitSeconds = 30;
const long kAttempts = 4;

}  // namespace

JoinProgress::JoinProgress(const std::string& what) : what(what) {
  if (::isatty(STDERR_FILENO)) shower = std::thread(&JoinProgress::Show, this);
}

JoinProgress::~JoinProgress() {
  if (!shower.joinable()) return;
  {
    std::lock_guard<std::mutex> guard(lock);
    done = true;
  }
  stopped.notify_one();
  shower.join();
  std::fputs("\r\033[K", stderr);
}

std::string JoinProgress::Describe(const std::string& what,
                                   long elapsedSeconds) {
  long reachable = 1 + elapsedSeconds / kRetryWaitSeconds;
  if (reachable > kAttempts) reachable = kAttempts;
  std::string text = what + ": " + std::to_string(elapsedSeconds) + " s";
  if (reachable > 1) {
    text += " (a failed logon is tried again after 30 s; at most attempt " +
            std::to_string(reachable) + " of " + std::to_string(kAttempts) +
            " by now)";
  }
  return text;
}

void JoinProgress::Show() {
  const auto start = std::chrono::steady_clock::now();
  std::unique_lock<std::mutex> guard(lock);
  while (!done) {
    const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::steady_clock::now() - start);
    std::fprintf(stderr, "\r\033[K%s",
                 Describe(what, static_cast<long>(elapsed.count())).c_str());
    std::fflush(stderr);
    stopped.wait_for(guard, std::chrono::seconds(1));
  }
}

}  // namespace quarryauthctl
