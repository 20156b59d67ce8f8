// The helper-program runner: input, output, time limits, and as services
// use it: with SIGCHLD ignored, with
// a handler of the host's own, and with standard streams closed.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>

#include "common/ChildProcess.h"

namespace quarry::common {
namespace {

// Sets SIGCHLD's disposition for the life of the object.
class ChildSignal {
 public:
  explicit ChildSignal(void (*handler)(int), int flags = 0) {
    struct sigaction wanted = {};
    wanted.sa_handler = handler;
    wanted.sa_flags = flags;
    sigemptyset(&wanted.sa_mask);
    sigaction(SIGCHLD, &wanted, &previous_);
  }
  ~ChildSignal() { sigaction(SIGCHLD, &previous_, nullptr); }

 private:
  struct sigaction previous_;
};

std::atomic<int> childSignals{0};
void CountChildSignal(int) { ++childSignals; }

ChildResult RunScript(const char* script) {
  return RunChild({"sh", "-c", script}, "", std::chrono::seconds(10));
}

TEST(ChildProcessTest, ReportsTheExitStatusWhileSigchldIsIgnored) {
  ChildSignal ignored(SIG_IGN);
  EXPECT_EQ(RunScript("exit 0").exitStatus, 0);
  EXPECT_EQ(RunScript("exit 3").exitStatus, 3);
  const ChildResult result = RunScript("echo done; exit 7");
  EXPECT_TRUE(result.started);
  EXPECT_EQ(result.output, "done\n");
  EXPECT_EQ(result.exitStatus, 7);
}

TEST(ChildProcessTest, ReportsTheExitStatusUnderNoChildWait) {
  ChildSignal noWait(SIG_DFL, SA_NOCLDWAIT);
  EXPECT_EQ(RunScript("exit 5").exitStatus, 5);
}

TEST(ChildProcessTest, ReportsAKilledProgramWhileSigchldIsIgnored) {
  ChildSignal ignored(SIG_IGN);
  EXPECT_EQ(RunScript("kill -TERM $$").exitStatus, -1);
}

TEST(ChildProcessTest, LeavesTheHostsChildSignalHandlerAlone) {
  ChildSignal counted(CountChildSignal);
  childSignals = 0;
  EXPECT_EQ(RunScript("exit 4").exitStatus, 4);
  EXPECT_EQ(childSignals.load(), 0);
}

TEST(ChildProcessTest, StartsTheProgramWithDefaultSignalHandling) {
  ChildSignal ignored(SIG_IGN);
  // An ignored SIGTERM would survive into the child; it must not.
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction previous;
  sigaction(SIGTERM, &ignore, &previous);
  const ChildResult result = RunScript("kill -TERM $$; exit 0");
  sigaction(SIGTERM, &previous, nullptr);
  EXPECT_EQ(result.exitStatus, -1);
}

// The program sees the end of its input once it has been written: nothing
// between us and it keeps the pipe open.
TEST(ChildProcessTest, ClosesTheProgramsInputAfterWritingIt) {
  const ChildResult result = RunChild({"cat"}, "all of it\n",
                                      std::chrono::seconds(10));
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "all of it\n");
}

TEST(ChildProcessTest, ReportsAProgramThatCannotBeRun) {
  const ChildResult missing =
      RunChild({"/nonexistent/program"}, "", std::chrono::seconds(10));
  EXPECT_FALSE(missing.started);
  EXPECT_EQ(missing.startError, ENOENT);
  // The sandbox's /var/lib is private to this test.
  const char plainFile[] = "/var/lib/quarry-plain-file";
  const int descriptor = ::open(plainFile, O_CREAT | O_WRONLY | O_TRUNC, 0644);
  ASSERT_GE(descriptor, 0);
  ::close(descriptor);
  ASSERT_EQ(::chmod(plainFile, 0644), 0);
  const ChildResult notExecutable =
      RunChild({plainFile}, "", std::chrono::seconds(10));
  ::unlink(plainFile);
  EXPECT_FALSE(notExecutable.started);
  EXPECT_EQ(notExecutable.startError, EACCES);
}

TEST(ChildProcessTest, WorksWithTheHostsStandardStreamsClosed) {
  const int savedInput = dup(0);
  const int savedOutput = dup(1);
  ASSERT_GE(savedInput, 0);
  ASSERT_GE(savedOutput, 0);
  close(0);
  close(1);
  const ChildResult result = RunChild(
      {"sh", "-c", "read line; echo \"got $line\"; echo err >&2"}, "text\n",
      std::chrono::seconds(10));
  dup2(savedInput, 0);
  dup2(savedOutput, 1);
  close(savedInput);
  close(savedOutput);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "got text\n");
  EXPECT_EQ(result.errors, "err\n");
}

TEST(ChildProcessTest, RunsAProgramWithInputAndCollectsItsOutput) {
  const ChildResult result = RunChild(
      {"sh", "-c", "read line; echo \"got $line\"; echo oops >&2; exit 3"},
      "secret\n", std::chrono::seconds(10), ChildErrors::IntoOutput);
  EXPECT_TRUE(result.started);
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.output, "got secret\noops\n");
  EXPECT_EQ(result.errors, "");
}

TEST(ChildProcessTest, KeepsStandardErrorApartWhenAsked) {
  const ChildResult result = RunChild(
      {"/bin/sh", "-c", "echo out; echo err >&2; echo \"$LC_ALL\""}, "",
      std::chrono::seconds(10));
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "out\nC\n");
  EXPECT_EQ(result.errors, "err\n");
}

TEST(ChildProcessTest, KillsAProgramAndItsChildrenAfterTheLimit) {
  const auto started = std::chrono::steady_clock::now();
  const ChildResult result = RunChild(
      {"sh", "-c", "sleep 60 & echo started; wait"}, "",
      std::chrono::milliseconds(300));
  const auto took = std::chrono::steady_clock::now() - started;
  EXPECT_TRUE(result.timedOut);
  EXPECT_EQ(result.exitStatus, -1);
  EXPECT_EQ(result.output, "started\n");
  EXPECT_LT(took, std::chrono::seconds(5));
}

TEST(ChildProcessTest, ReportsAProgramThatIsNotThere) {
  const ChildResult result = RunChild(
      {"quarry-no-such-program"}, "", std::chrono::seconds(10));
  EXPECT_FALSE(result.started);
  EXPECT_EQ(result.startError, ENOENT);
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitStatus, -1);
}

}  // namespace
}  // namespace quarry::common
