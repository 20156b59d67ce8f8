#include "services/authproxyd/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "common/UniqueFd.h"

namespace quarry::authproxyd {

using common::UniqueFd;

namespace {

using Clock = std::chrono::steady_clock;

// Enough for adcli's most verbose run; the rest is dropped.
constexpr std::string::size_type kOutputLimit = 1 << 20;

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

struct Pipe {
  UniqueFd read;
  UniqueFd write;
};

Pipe MakePipe() {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) ThrowErrno("pipe2");
  return Pipe{UniqueFd(fds[0]), UniqueFd(fds[1])};
}

// A started child; killed with its group and reaped on every path.
class RunningChild {
 public:
  explicit RunningChild(pid_t pid) : pid_(pid) {}
  ~RunningChild() {
    if (pid_ > 0) {
      Kill();
      Wait();
    }
  }
  RunningChild(const RunningChild&) = delete;
  RunningChild& operator=(const RunningChild&) = delete;

  void Kill() const { ::kill(-pid_, SIGKILL); }

  int Wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // False when the child is still running at the deadline (a child may
  // close its output before it exits).
  bool ExitsBefore(Clock::time_point deadline) const {
    for (;;) {
      siginfo_t info{};
      const int polled =
          ::waitid(P_PID, static_cast<id_t>(pid_), &info,
                   WEXITED | WNOHANG | WNOWAIT);
      if ((polled == 0 && info.si_pid == pid_) ||
          (polled < 0 && errno != EINTR)) {
        return true;
      }
      if (Clock::now() >= deadline) return false;
      ::usleep(10000);
    }
  }

 private:
  pid_t pid_;
};

}  // namespace

ChildResult RunChild(const std::vector<std::string>& arguments,
                     const std::string& input,
                     std::chrono::milliseconds limit) {
  // Everything the child needs is prepared before fork: only
  // async-signal-safe calls happen between fork and exec.
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  Pipe in = MakePipe();
  Pipe out = MakePipe();

  const pid_t pid = ::fork();
  if (pid < 0) ThrowErrno("fork");
  if (pid == 0) {
    ::setpgid(0, 0);
    ::dup2(in.read.Get(), STDIN_FILENO);
    ::dup2(out.write.Get(), STDOUT_FILENO);
    ::dup2(out.write.Get(), STDERR_FILENO);
    ::signal(SIGPIPE, SIG_DFL);
    ::execvp(argv[0], argv.data());
    _exit(127);
  }
  // The group exists before the parent could kill it.
  ::setpgid(pid, pid);
  RunningChild child(pid);
  in.read.Reset();
  out.write.Reset();

  const Clock::time_point deadline = Clock::now() + limit;
  ChildResult result;
  // The input (a password line) is far smaller than a pipe's buffer.
  if (!input.empty() &&
      ::write(in.write.Get(), input.data(), input.size()) < 0 &&
      errno != EPIPE) {
    ThrowErrno("write");
  }
  in.write.Reset();

  char buffer[4096];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - Clock::now());
    if (left.count() <= 0) {
      result.timedOut = true;
      break;
    }
    pollfd ready{out.read.Get(), POLLIN, 0};
    const int polled = ::poll(&ready, 1, static_cast<int>(left.count()));
    if (polled < 0 && errno == EINTR) continue;
    if (polled < 0) ThrowErrno("poll");
    if (polled == 0) continue;  // the deadline check ends the loop
    const ssize_t count = ::read(out.read.Get(), buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;  // every writer has closed: the child is done
    if (result.output.size() < kOutputLimit) {
      result.output.append(buffer, static_cast<std::size_t>(count));
    }
  }
  if (!result.timedOut && !child.ExitsBefore(deadline)) result.timedOut = true;
  if (result.timedOut) child.Kill();
  result.exitStatus = child.Wait();
  if (result.timedOut) result.exitStatus = -1;
  return result;
}

}  // namespace quarry::authproxyd
