#include "common/ChildProcess.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "common/ProgramStart.h"

extern char** environ;

namespace quarry::common {
namespace {

// Both ends of a pipe, closed on destruction.
class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_, O_CLOEXEC) != 0) ends_[0] = ends_[1] = -1;
  }
  ~Pipe() {
    CloseRead();
    CloseWrite();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  bool valid() const { return ends_[0] >= 0; }
  int read() const { return ends_[0]; }
  int write() const { return ends_[1]; }
  void CloseRead() { Close(ends_[0]); }
  void CloseWrite() { Close(ends_[1]); }

 private:
  static void Close(int& end) {
    if (end >= 0) ::close(end);
    end = -1;
  }
  int ends_[2];
};

// SIGPIPE blocked on this thread while we write to a child that may have
// exited; a SIGPIPE raised meanwhile is consumed, not delivered to the host
// process.
class SigpipeGuard {
 public:
  SigpipeGuard() {
    sigemptyset(&pipeSignal_);
    sigaddset(&pipeSignal_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeSignal_, &previous_);
  }
  ~SigpipeGuard() {
    if (!wasPending_) {
      const timespec zero = {0, 0};
      while (sigtimedwait(&pipeSignal_, nullptr, &zero) == SIGPIPE) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }

 private:
  sigset_t pipeSignal_;
  sigset_t previous_;
  bool wasPending_ = false;
};

// Enough for adcli's most verbose run; the rest is read and dropped.
const std::string::size_type kOutputLimit = 1 << 20;

long long NowMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

std::vector<std::string> ChildEnvironment() {
  std::vector<std::string> entries;
  for (char** entry = environ; entry != nullptr && *entry != nullptr;
       ++entry) {
    if (std::strncmp(*entry, "LC_ALL=", 7) != 0 &&
        std::strncmp(*entry, "LANGUAGE=", 9) != 0) {
      entries.emplace_back(*entry);
    }
  }
  entries.emplace_back("LC_ALL=C");
  return entries;
}

// Moves data between the child's three pipes until both outputs are closed
// or the deadline passes. Returns false at the deadline.
bool Exchange(Pipe& in, Pipe& out, Pipe& err, const std::string& input,
              ChildResult& result, long long deadline) {
  SigpipeGuard guard;
  std::size_t written = 0;
  if (input.empty()) in.CloseWrite();
  char buffer[4096];
  while (out.read() >= 0 || err.read() >= 0) {
    pollfd descriptors[3] = {{out.read(), POLLIN, 0},
                             {err.read(), POLLIN, 0},
                             {in.write(), POLLOUT, 0}};
    const long long left = deadline - NowMilliseconds();
    if (left <= 0) return false;
    const int ready = poll(descriptors, 3, static_cast<int>(left));
    if (ready < 0 && errno != EINTR) return false;
    if (ready <= 0) continue;
    if (descriptors[2].revents != 0) {
      const ssize_t count = ::write(in.write(), input.data() + written,
                                    input.size() - written);
      if (count > 0) written += static_cast<std::size_t>(count);
      if (count < 0 && errno != EINTR && errno != EAGAIN) written = input.size();
      if (written == input.size()) in.CloseWrite();
    }
    Pipe* sources[2] = {&out, &err};
    std::string* sinks[2] = {&result.output, &result.errors};
    for (int i = 0; i < 2; ++i) {
      if (descriptors[i].revents == 0) continue;
      const ssize_t count = ::read(sources[i]->read(), buffer, sizeof buffer);
      if (count > 0) {
        const std::size_t room = kOutputLimit - std::min(kOutputLimit, sinks[i]->size());
        sinks[i]->append(buffer, std::min(room, static_cast<std::size_t>(count)));
      } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
        sources[i]->CloseRead();
      }
    }
  }
  return true;
}

int WaitForExit(const StartedProgram& program, long long deadline,
                bool& timedOut) {
  int exitStatus = -1;
  while (!ProgramEnded(program, exitStatus)) {
    if (!timedOut && NowMilliseconds() >= deadline) {
      timedOut = true;
      KillProgram(program);
    }
    const timespec pause = {0, 10 * 1000 * 1000};
    nanosleep(&pause, nullptr);
  }
  return exitStatus;
}

}  // namespace

ChildResult RunChild(const std::vector<std::string>& arguments,
                     const std::string& input, std::chrono::milliseconds limit,
                     ChildErrors errors) {
  ChildResult result;
  if (arguments.empty()) {
    result.startError = EINVAL;
    return result;
  }
  Pipe in, out, err;
  if (!in.valid() || !out.valid() || !err.valid()) {
    result.startError = errno;
    return result;
  }
  const int streams[3] = {
      in.read(), out.write(),
      errors == ChildErrors::IntoOutput ? out.write() : err.write()};
  StartedProgram program;
  if (!StartProgram(arguments, ChildEnvironment(), streams, program)) {
    result.startError = errno;
    return result;
  }
  result.started = true;
  in.CloseRead();
  out.CloseWrite();
  err.CloseWrite();

  const long long deadline =
      NowMilliseconds() + static_cast<long long>(limit.count());
  if (!Exchange(in, out, err, input, result, deadline)) {
    result.timedOut = true;
    KillProgram(program);
  }
  result.exitStatus = WaitForExit(program, deadline, result.timedOut);
  return result;
}

}  // namespace quarry::common
