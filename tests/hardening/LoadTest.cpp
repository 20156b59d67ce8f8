// Many threads using every entry point at once for a bounded time, the way
// a management service does over months: status queries against a plug-in
// that answers at once and against one that hangs, store activation, and
// PAM and NSS parsing. Nothing may deadlock, crash or fail; memory and the
// thread count stay flat. QUARRYAUTH_LOAD_SECONDS sets the length of the
// whole program's run (default 60), shared by its two cases.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include "authentication/PluginHarness.h"

namespace {

namespace qa = quarry::authentication;
namespace sc = SystemConfiguration;
using quarryauth_test::BaselineThreadCount;
using quarryauth_test::CountThreads;
using quarryauth_test::PluginControl;
using quarryauth_test::WaitForThreadCount;
using Clock = std::chrono::steady_clock;

#if defined(__SANITIZE_THREAD__)
const bool kThreadSanitizer = true;
#else
const bool kThreadSanitizer = false;
#endif

const int kCallers = 64;
// A worker that has answered may still be exiting when the next one
// starts; under sanitizers dozens overlap. Workers that never ended would
// number in the thousands over a run.
const int kExitingWorkers = kCallers;
const TestOperation kQueried[] = {
    TEST_OP_GET_ACTIVE_DOMAIN, TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS,
    TEST_OP_GET_MACHINE_ACCOUNT_DN, TEST_OP_GET_TRUSTED_DOMAINS,
    TEST_OP_GET_DOMAIN_TRUST_STATE};

const char kPAMFile[] =
    "#%PAM-1.0\n"
    "auth\trequired\tpam_env.so readenv=1\n"
    "auth\t[success=1 default=ignore]\tpam_unix.so nullok\n"
    "auth\trequisite\tpam_deny.so\n"
    "account\tsufficient\tpam_quarry.so\n"
    "password\tinclude\tcommon-password\n"
    "session\toptional\tpam_systemd.so\n";
const char kNSSFile[] =
    "# name-service switch\n"
    "passwd:         files quarry\n"
    "group:          files [NOTFOUND=return] quarry\n"
    "hosts:          files dns\n";

std::chrono::seconds PhaseLength() {
  const char* text = std::getenv("QUARRYAUTH_LOAD_SECONDS");
  const int seconds = text != nullptr ? std::atoi(text) : 60;
  return std::chrono::seconds(seconds > 1 ? seconds / 2 : 1);
}

// Resident memory of this process in kilobytes.
long ResidentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 6, "VmRSS:") == 0) return std::stol(line.substr(6));
  }
  return -1;
}

std::string RewritePAM(const std::string& text) {
  sc::PAMPolicy policy("login");
  std::istringstream in(text);
  in >> policy;
  std::ostringstream out;
  out << policy;
  return out.str();
}

std::string RewriteNSS(const std::string& text) {
  sc::NSSConfiguration configuration;
  std::istringstream in(text);
  in >> configuration;
  std::ostringstream out;
  out << configuration;
  return out.str();
}

class Load : public ::testing::Test {
 protected:
  Load()
      : plugin(quarryauth_test::InstallStandardPlugin()),
        pamExpected(RewritePAM(kPAMFile)),
        nssExpected(RewriteNSS(kNSSFile)) {
    plugin.SetTexts(TEST_OP_GET_ACTIVE_DOMAIN, {"example.com", "EXAMPLE"});
    plugin.SetTexts(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS, {"dc1"});
    plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=NODE1"});
    plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"b.example.com", "B"});
    plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
    quarryauth_test::WriteActiveStore("None");
  }

  // One call of the mix; false when its answer is impossible. Cached
  // answers while a worker is out are the empty initial values, or 2 for
  // the trust state.
  bool Call(qa::ActiveDirectoryStore& directory,
            qa::NoRemoteAuthenticationStore& none, int round) {
    switch (round % 9) {
      case 0: {
        std::unique_ptr<qa::StoreConfiguration> configuration(
            directory.GetStoreConfiguration());
        const auto& typed =
            dynamic_cast<qa::ActiveDirectoryStoreConfiguration&>(
                *configuration);
        return typed.machineAccountDN.empty() ||
               typed.machineAccountDN == "CN=NODE1";
      }
      case 1: {
        const std::deque<qa::Domain> domains = directory.GetTrustedDomains();
        return domains.empty() ||
               (domains.size() == 1 &&
                domains[0] == qa::Domain("b.example.com", "B"));
      }
      case 2: {
        const qa::TrustState state = directory.GetDomainTrustState();
        return state == 0 || state == 2 || state == 5;
      }
      // Either store may be the active one: others activate concurrently.
      case 3:
        directory.IsActive();
        return true;
      case 4:
        none.IsActive();
        return true;
      case 5:
        directory.MakeActive();
        return true;
      case 6:
        none.MakeActive();
        return true;
      case 7:
        return RewritePAM(kPAMFile) == pamExpected;
      default:
        return RewriteNSS(kNSSFile) == nssExpected;
    }
  }

  void Caller(qa::ActiveDirectoryStore& directory, int seed) {
    qa::NoRemoteAuthenticationStore none;
    for (int round = seed; !stop; ++round) {
      try {
        if (!Call(directory, none, round)) ++wrongAnswers;
      } catch (const std::exception& error) {
        ++failures;
        ADD_FAILURE() << "round " << round % 9 << ": " << error.what();
      }
      ++calls;
    }
  }

  // Runs the callers for the phase's length; every `toggle` the hung
  // plug-in lets its callers go and hangs again, so that workers keep
  // ending and starting. Checks memory and threads on the way.
  void Run(qa::ActiveDirectoryStore& directory, bool hanging) {
    const int baseline = BaselineThreadCount();
    if (hanging) Hang();
    std::vector<std::thread> callers;
    for (int i = 0; i < kCallers; ++i) {
      callers.emplace_back([this, &directory, i] { Caller(directory, i); });
    }
    const Clock::time_point start = Clock::now();
    const Clock::time_point end = start + PhaseLength();
    const Clock::time_point early = start + PhaseLength() / 4;
    Clock::time_point nextToggle = start + std::chrono::seconds(2);
    long earlyKilobytes = -1;
    int mostThreads = 0;
    while (Clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      mostThreads = std::max(mostThreads, CountThreads());
      if (earlyKilobytes < 0 && Clock::now() >= early) {
        earlyKilobytes = ResidentKilobytes();
      }
      if (hanging && Clock::now() >= nextToggle) {
        Unhang();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Hang();
        nextToggle = Clock::now() + std::chrono::seconds(2);
      }
    }
    const long lateKilobytes = ResidentKilobytes();
    stop = true;
    for (std::thread& caller : callers) caller.join();
    if (hanging) Unhang();

    EXPECT_EQ(0, failures.load());
    EXPECT_EQ(0, wrongAnswers.load());
    EXPECT_GT(calls.load(), kCallers);
    // Callers plus one worker per query kind, and workers still exiting.
    EXPECT_LE(mostThreads, baseline + kCallers + 3 + kExitingWorkers);
    EXPECT_TRUE(WaitForThreadCount(baseline));
    // Generous: allocator caches and sanitizer bookkeeping may settle late,
    // a leak over a whole run does not fit. ThreadSanitizer keeps a record
    // of every thread that ever ran, so its memory grows with the workers
    // started by design; there the thread counts above are the check, and
    // the normal and AddressSanitizer builds check the memory.
    if (!kThreadSanitizer) {
      EXPECT_LE(lateKilobytes,
                earlyKilobytes + earlyKilobytes / 2 + 32 * 1024)
          << "resident memory grew from " << earlyKilobytes << " kB to "
          << lateKilobytes << " kB";
    }
    RecordProperty("calls", std::to_string(calls.load()));
    RecordProperty("early_rss_kb", std::to_string(earlyKilobytes));
    RecordProperty("late_rss_kb", std::to_string(lateKilobytes));
  }

  void Hang() {
    for (TestOperation operation : kQueried) plugin.Block(operation);
  }
  void Unhang() {
    for (TestOperation operation : kQueried) plugin.Release(operation);
  }

  PluginControl plugin;
  const std::string pamExpected;
  const std::string nssExpected;
  std::atomic<bool> stop{false};
  std::atomic<long> calls{0};
  std::atomic<int> failures{0};
  std::atomic<int> wrongAnswers{0};
};

TEST_F(Load, InstantPlugin) {
  qa::ActiveDirectoryStore directory(30);
  Run(directory, false);
  EXPECT_EQ(0, plugin.LiveAllocations());
}

TEST_F(Load, HangingPlugin) {
  {
    qa::ActiveDirectoryStore directory(1);
    Run(directory, true);
  }
  EXPECT_EQ(0, plugin.LiveAllocations());
}

}  // namespace
