#include "JoinProgress.h"

#include <sys/syscall.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>

namespace quarryauthctl {

namespace {

const long kRetryWaitSeconds = 30;
const int kAttempts = 4;
const auto kLookInterval = std::chrono::milliseconds(200);

// Reads a timespec at address in this process's memory without touching it
// directly: it lives on the joining thread's stack.
bool ReadRequestedSleep(unsigned long address, timespec& requested) {
  iovec local{&requested, sizeof requested};
  iovec remote{reinterpret_cast<void*>(address), sizeof requested};
  return ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0) ==
         static_cast<ssize_t>(sizeof requested);
}

}  // namespace

JoinProgress::JoinProgress(const std::string& what)
    : what(what),
      joiner(static_cast<pid_t>(::syscall(SYS_gettid))),
      terminal(::isatty(STDERR_FILENO) == 1) {
  watcher = std::thread(&JoinProgress::Watch, this);
}

JoinProgress::~JoinProgress() {
  {
    std::lock_guard<std::mutex> guard(lock);
    done = true;
  }
  stopped.notify_one();
  watcher.join();
  if (terminal) std::fputs("\r\033[K", stderr);
}

// The system call that the joining thread is in, from
// /proc/self/task/TID/syscall ("NUMBER ARG1 ARG2 ..."): a relative
// clock_nanosleep or a nanosleep of exactly 30 seconds is the library's
// wait before the next attempt.
bool JoinProgress::JoinerWaitsToRetry() const {
  std::ifstream state("/proc/self/task/" + std::to_string(joiner) +
                      "/syscall");
  long number = -1;
  unsigned long arguments[3] = {0, 0, 0};
  if (!(state >> number >> std::hex >> arguments[0] >> arguments[1] >>
        arguments[2])) {
    return false;
  }
  unsigned long request = 0;
  if (number == SYS_clock_nanosleep && arguments[1] == 0) {
    request = arguments[2];
  } else if (number == SYS_nanosleep) {
    request = arguments[0];
  } else {
    return false;
  }
  timespec requested{};
  return ReadRequestedSleep(request, requested) &&
         requested.tv_sec == kRetryWaitSeconds && requested.tv_nsec == 0;
}

void JoinProgress::Watch() {
  const auto start = std::chrono::steady_clock::now();
  bool waiting = false;
  std::unique_lock<std::mutex> guard(lock);
  while (!stopped.wait_for(guard, kLookInterval, [this] { return done; })) {
    const bool waitsNow = JoinerWaitsToRetry();
    if (waitsNow && !waiting) {
      Say(what + ": attempt " + std::to_string(attempt) + " of " +
          std::to_string(kAttempts) + " failed" +
          (attempt < kAttempts ? "; the library tries again in 30 s"
                               : "; that was the last"));
    } else if (!waitsNow && waiting) {
      NextAttempt();
    }
    waiting = waitsNow;
    ShowClock(static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(
                                    std::chrono::steady_clock::now() - start)
                                    .count()));
  }
  // The join ended while we last saw it wait: it woke for one more attempt
  // that ended before the next look.
  if (waiting) NextAttempt();
}

void JoinProgress::NextAttempt() {
  if (attempt == kAttempts) return;  // after the last wait comes no attempt
  ++attempt;
  shownAttempt = "attempt " + std::to_string(attempt) + " of " +
                 std::to_string(kAttempts);
  Say(what + ": " + shownAttempt);
}

void JoinProgress::Say(const std::string& line) {
  std::fprintf(stderr, "%s%s\n", terminal ? "\r\033[K" : "", line.c_str());
  std::fflush(stderr);
}

void JoinProgress::ShowClock(long seconds) {
  if (!terminal) return;
  std::string clock = what + ": " + std::to_string(seconds) + " s";
  if (!shownAttempt.empty()) clock += ", " + shownAttempt;
  std::fprintf(stderr, "\r\033[K%s", clock.c_str());
  std::fflush(stderr);
}

}  // namespace quarryauthctl
