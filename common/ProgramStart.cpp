#include "common/ProgramStart.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "common/UniqueFd.h"

namespace quarry::common {
namespace {

// What the supervisor and the program tell us through the report pipe.
struct Report {
  enum Kind : int { kProgramGroup = 1, kStartError = 2 };
  int kind;
  int value;
};

// The kernel's own signal-action record, for the raw system call.
struct KernelSignalAction {
  void (*handler)(int);
  unsigned long flags;
  void (*restorer)();
  unsigned long mask;
};

bool IsExecutableFile(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

// The program's path: as given when it holds a "/", else the first
// executable of that name in PATH, as a shell would find it. Empty, with
// errno set, when there is none.
std::string ProgramPath(const std::string& name) {
  if (name.find('/') != std::string::npos) {
    if (::access(name.c_str(), X_OK) != 0) return std::string();
    return name;
  }
  const char* path = std::getenv("PATH");
  const std::string folders = path != nullptr ? path : "/usr/bin:/bin";
  std::string::size_type begin = 0;
  for (;;) {
    const std::string::size_type end = folders.find(':', begin);
    std::string folder = folders.substr(begin, end - begin);
    if (folder.empty()) folder = ".";
    const std::string candidate = folder + "/" + name;
    if (IsExecutableFile(candidate)) return candidate;
    if (end == std::string::npos) break;
    begin = end + 1;
  }
  errno = ENOENT;
  return std::string();
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// Everything from here to StartProgram runs in copies of a process that
// has other threads, so it makes raw system calls only: no library
// function (nor a sanitizer's wrapper around one) that might wait for a
// lock that another thread held at the copy.

void Tell(int reportPipe, Report::Kind kind, int value) {
  const Report report = {kind, value};
  syscall(SYS_write, reportPipe, &report, sizeof report);
}

void CloseEveryDescriptor() {
  if (syscall(SYS_close_range, 0u, ~0u, 0u) == 0) return;
  // Kernels before 5.9: one by one, up to the limit.
  struct rlimit limit = {1024, 1024};
  syscall(SYS_prlimit64, 0, RLIMIT_NOFILE, nullptr, &limit);
  const unsigned long highest =
      limit.rlim_cur == RLIM_INFINITY ? 1ul << 20 : limit.rlim_cur;
  for (unsigned long descriptor = 0; descriptor < highest; ++descriptor) {
    syscall(SYS_close, descriptor);
  }
}

[[noreturn]] void BecomeProgram(const char* path, char* const* argv,
                                char* const* environment, int reportPipe) {
  syscall(SYS_setpgid, 0, 0);
  syscall(SYS_execve, path, argv, environment);
  Tell(reportPipe, Report::kStartError, errno);
  syscall(SYS_exit_group, 127);
  __builtin_unreachable();
}

[[noreturn]] void Supervise(const char* path, char* const* argv,
                            char* const* environment, const int streams[3],
                            int reportPipe) {
  // A host that runs with a standard stream closed may have had a pipe end
  // put there: lift all three above 2 first, so none is overwritten.
  long lifted[3];
  for (int target = 0; target < 3; ++target) {
    lifted[target] = syscall(SYS_fcntl, streams[target], F_DUPFD_CLOEXEC, 3);
  }
  for (int target = 0; target < 3; ++target) {
    syscall(SYS_dup2, lifted[target], target);
  }
  const KernelSignalAction standard = {SIG_DFL, 0, nullptr, 0};
  for (int signal = 1; signal < NSIG; ++signal) {
    syscall(SYS_rt_sigaction, signal, &standard, nullptr, sizeof standard.mask);
  }
  const unsigned long none = 0;
  syscall(SYS_rt_sigprocmask, SIG_SETMASK, &none, nullptr, sizeof none);

  const long program =
      syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr);
  if (program == 0) BecomeProgram(path, argv, environment, reportPipe);
  if (program < 0) {
    Tell(reportPipe, Report::kStartError, errno);
    syscall(SYS_exit_group, 127);
  }
  // Set here as well as in the program, so that the group exists before
  // anyone is told of it.
  syscall(SYS_setpgid, program, program);
  Tell(reportPipe, Report::kProgramGroup, static_cast<int>(program));
  // Only the program keeps the streams and the report pipe, so that their
  // ends close when it ends (or execs); nothing else of the host's stays
  // open here either, our end of the program's input among them.
  CloseEveryDescriptor();
  int status = 0;
  while (syscall(SYS_wait4, program, &status, 0, nullptr) < 0 &&
         errno == EINTR) {
  }
  if (WIFEXITED(status)) syscall(SYS_exit_group, WEXITSTATUS(status));
  syscall(SYS_kill, syscall(SYS_getpid), SIGKILL);
  __builtin_unreachable();
}

void Reap(pid_t supervisor) {
  int status = 0;
  while (::waitpid(supervisor, &status, __WALL) < 0 && errno == EINTR) {
  }
}

}  // namespace

bool StartProgram(const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment,
                  const int streams[3], StartedProgram& started) {
  if (arguments.empty()) {
    errno = EINVAL;
    return false;
  }
  const std::string path = ProgramPath(arguments[0]);
  if (path.empty()) return false;
  std::vector<std::string> argv = arguments;
  std::vector<std::string> environmentCopy = environment;
  std::vector<char*> argvPointers = Pointers(argv);
  std::vector<char*> environmentPointers = Pointers(environmentCopy);
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  UniqueFd reports(ends[0]);
  UniqueFd reportPipe(ends[1]);

  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  // No handler of the host may run in the copy before it is reset.
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  // No termination signal: see the header.
  const long created =
      syscall(SYS_clone, 0L, nullptr, nullptr, nullptr, nullptr);
  if (created == 0) {
    Supervise(path.c_str(), argvPointers.data(), environmentPointers.data(),
              streams, reportPipe.Get());
  }
  const int cloneError = errno;
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  if (created < 0) {
    errno = cloneError;
    return false;
  }
  reportPipe.Reset();
  started.supervisor = static_cast<pid_t>(created);
  started.group = -1;
  int startError = 0;
  Report report;
  for (;;) {
    const ssize_t count = ::read(reports.Get(), &report, sizeof report);
    if (count < 0 && errno == EINTR) continue;
    if (count != static_cast<ssize_t>(sizeof report)) break;
    if (report.kind == Report::kProgramGroup) started.group = report.value;
    if (report.kind == Report::kStartError) startError = report.value;
  }
  if (startError != 0 || started.group <= 0) {
    Reap(started.supervisor);
    errno = startError != 0 ? startError : ECHILD;
    return false;
  }
  return true;
}

bool ProgramEnded(const StartedProgram& started, int& exitStatus) {
  int status = 0;
  pid_t done;
  do {
    done = ::waitpid(started.supervisor, &status, WNOHANG | __WALL);
  } while (done < 0 && errno == EINTR);
  if (done == 0) return false;
  exitStatus = done == started.supervisor && WIFEXITED(status)
                   ? WEXITSTATUS(status)
                   : -1;
  return true;
}

void KillProgram(const StartedProgram& started) {
  ::kill(-started.group, SIGKILL);
}

}  // namespace quarry::common
