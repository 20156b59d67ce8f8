// Thread failures: this program answers for pthread_create and
// pthread_cond_timedwait so that a test can make them fail with a chosen
// code; otherwise it passes the call on to the real functions.
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <memory>
#include <pthread.h>
#include <syslog.h>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace {
std::atomic<int> createFailure{0};
std::atomic<int> timedWaitFailure{0};

template <class Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread, const pthread_attr_t* attr,
                              void* (*start)(void*), void* argument) noexcept {
  if (int rc = createFailure.load()) return rc;
  static auto real = Next<decltype(&pthread_create)>("pthread_create");
  return real(thread, attr, start, argument);
}

extern "C" __attribute__((visibility("default"))) int pthread_cond_timedwait(pthread_cond_t* condition,
                                      pthread_mutex_t* mutex,
                                      const timespec* deadline) {
  if (int rc = timedWaitFailure.load()) return rc;
  static auto real =
      Next<decltype(&pthread_cond_timedwait)>("pthread_cond_timedwait");
  return real(condition, mutex, deadline);
}

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::PluginControl;

std::string ScheduleFailure(int rc) {
  createFailure = rc;
  try {
    qa::QuarryauthThreadUtil::ScheduleThread([] {});
  } catch (const qa::ThreadErrorException& error) {
    createFailure = 0;
    EXPECT_EQ(0u, error.GetCode());
    return error.what();
  }
  createFailure = 0;
  return "(nothing thrown)";
}

std::string WaitFailure(int rc) {
  qa::RequestState request;
  timedWaitFailure = rc;
  try {
    request.WaitResult(1);
  } catch (const qa::ThreadErrorException& error) {
    timedWaitFailure = 0;
    return error.what();
  }
  timedWaitFailure = 0;
  return "(nothing thrown)";
}

TEST(ScheduleThreadFailure, DetailIsTheLiteralCutAtTheCode) {
  EXPECT_EQ("Thread Error: ate failed. RC=", ScheduleFailure(EAGAIN));
  EXPECT_EQ("Thread Error: thread_create failed. RC=", ScheduleFailure(EPERM));
  EXPECT_EQ("Thread Error:  RC=", ScheduleFailure(EINVAL));
}

TEST(ScheduleThreadFailure, CodeBeyondTheLiteralLeavesNoDetail) {
  EXPECT_EQ("Thread Error: ", ScheduleFailure(26));
  EXPECT_EQ("Thread Error: ", ScheduleFailure(75));
}

TEST(ScheduleThreadFailure, TaskIsNeitherRunNorKept) {
  auto token = std::make_shared<int>(1);
  std::atomic<bool> ran{false};
  createFailure = EAGAIN;
  EXPECT_THROW(
      qa::QuarryauthThreadUtil::ScheduleThread([token, &ran] { ran = true; }),
      qa::ThreadErrorException);
  createFailure = 0;
  EXPECT_EQ(1, token.use_count());
  EXPECT_FALSE(ran.load());
}

TEST(WaitResultFailure, DetailIsTheLiteralCutAtTheCode) {
  EXPECT_EQ("Thread Error:  failed. RC=", WaitFailure(EINVAL));
  EXPECT_EQ("Thread Error: thread_cond_timedwait failed. RC=",
            WaitFailure(EPERM));
  EXPECT_EQ("Thread Error: ", WaitFailure(34));
}

TEST(WaitResultFailure, TimeoutCodeIsATimeoutNotAThreadError) {
  qa::RequestState request;
  timedWaitFailure = ETIMEDOUT;
  EXPECT_THROW(request.WaitResult(30), qa::ProviderCallTimedOutException);
  timedWaitFailure = 0;
}

TEST(StatusQuerySchedulingFailure, PropagatesAndLetsTheNextQueryStartAWorker) {
  PluginControl plugin(InstallStandardPlugin());
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"a.example.com", "A"});
  qa::ActiveDirectoryStore store(30);
  createFailure = EAGAIN;
  try {
    store.GetTrustedDomains();
    ADD_FAILURE() << "no thread error";
  } catch (const qa::ThreadErrorException& error) {
    EXPECT_STREQ("Thread Error: ate failed. RC=", error.what());
  }
  createFailure = 0;
  EXPECT_EQ(0, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
  // The in-flight flag was cleared: this query starts a worker and waits.
  EXPECT_EQ(std::deque<qa::Domain>{qa::Domain("a.example.com", "A")},
            store.GetTrustedDomains());
  EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
}

TEST(StatusQuerySchedulingFailure, AppliesToEveryQuery) {
  PluginControl plugin(InstallStandardPlugin());
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=node1"});
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  qa::ActiveDirectoryStore store(30);
  createFailure = EAGAIN;
  EXPECT_THROW(delete store.GetStoreConfiguration(), qa::ThreadErrorException);
  // GetTrustedDomains fails first inside the trust-state query; that is
  // logged, and then scheduling the trust-state worker fails too.
  EXPECT_THROW(store.GetDomainTrustState(), qa::ThreadErrorException);
  createFailure = 0;
  const quarryauth_test::LogLine warning = {
      LOG_WARNING,
      "GetDomainTrustState: Call to GetTrustedDomains() failed: "
      "Thread Error: ate failed. RC="};
  EXPECT_EQ(std::vector<quarryauth_test::LogLine>{warning},
            quarryauth_test::CapturedLog());
  std::unique_ptr<qa::StoreConfiguration> configuration(
      store.GetStoreConfiguration());
  EXPECT_EQ("CN=node1", dynamic_cast<qa::ActiveDirectoryStoreConfiguration&>(
                            *configuration)
                            .machineAccountDN);
  EXPECT_EQ(5u, store.GetDomainTrustState());
}

}  // namespace
