// Detached worker threads and the caller's timed wait for them.
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <pthread.h>
#include <thread>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

namespace {

namespace qa = quarry::authentication;

bool WaitFor(const std::function<bool()>& condition) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

TEST(ScheduleThread, RunsTheTaskOnADetachedThread) {
  std::promise<void> scheduled;
  std::shared_future<void> detached = scheduled.get_future().share();
  std::promise<int> detachState;
  std::future<int> answer = detachState.get_future();
  std::atomic<bool> otherThread{false};
  const pthread_t caller = pthread_self();
  qa::QuarryauthThreadUtil::ScheduleThread([&, detached] {
    detached.wait();  // ScheduleThread detaches after creating the thread
    otherThread = !pthread_equal(caller, pthread_self());
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    int state = -1;
    pthread_attr_getdetachstate(&attributes, &state);
    pthread_attr_destroy(&attributes);
    detachState.set_value(state);
  });
  scheduled.set_value();
  EXPECT_EQ(PTHREAD_CREATE_DETACHED, answer.get());
  EXPECT_TRUE(otherThread.load());
}

TEST(ScheduleThread, ReleasesTheTaskAfterRunningIt) {
  auto token = std::make_shared<int>(1);
  std::weak_ptr<int> watch = token;
  qa::QuarryauthThreadUtil::ScheduleThread([token] {});
  token.reset();
  EXPECT_TRUE(WaitFor([&] { return watch.expired(); }));
}

TEST(RequestState, WorkerDoneBeforeTheWaitReturnsAtOnce) {
  qa::RequestState request;
  request.Done(nullptr);
  // A zero time-out would expire at once if the wait looked at the clock.
  EXPECT_NO_THROW(request.WaitResult(0));
}

TEST(RequestState, ErrorRaisedBeforeTheWaitIsRaisedWithItsClass) {
  qa::RequestState request;
  qa::FileNotFoundException failure;
  request.Done(&failure);
  try {
    request.WaitResult(0);
    FAIL();
  } catch (const qa::FileNotFoundException& error) {
    EXPECT_EQ(2u, error.GetCode());
  }
}

TEST(RequestState, StoredErrorIsRaisedAgainByASecondWait) {
  qa::RequestState request;
  qa::AccessDeniedException failure;
  request.Done(&failure);
  EXPECT_THROW(request.WaitResult(1), qa::AccessDeniedException);
  EXPECT_THROW(request.WaitResult(1), qa::AccessDeniedException);
}

TEST(RequestState, LaterErrorReplacesTheEarlierOne) {
  qa::RequestState request;
  qa::AccessDeniedException first;
  qa::TimeSkewException second;
  request.Done(&first);
  request.Done(&second);
  EXPECT_THROW(request.WaitResult(1), qa::TimeSkewException);
}

TEST(RequestState, ZeroTimeoutWithoutAnswerTimesOut) {
  qa::RequestState request;
  try {
    request.WaitResult(0);
    FAIL();
  } catch (const qa::ProviderCallTimedOutException& error) {
    EXPECT_STREQ("Provider call timed out.", error.what());
    EXPECT_EQ(0u, error.GetCode());
  }
}

TEST(RequestState, WorkerThatNeverAnswersTimesOut) {
  qa::RequestState request;
  EXPECT_THROW(request.WaitResult(1), qa::ProviderCallTimedOutException);
}

TEST(RequestState, WaitReturnsWhenAWorkerThreadSucceeds) {
  auto request = std::make_shared<qa::RequestState>();
  std::thread worker([request] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    request->Done(nullptr);
  });
  EXPECT_NO_THROW(request->WaitResult(30));
  worker.join();
}

TEST(RequestState, WorkerErrorCrossesTheThreadWithItsClass) {
  auto request = std::make_shared<qa::RequestState>();
  qa::QuarryauthThreadUtil::ScheduleThread([request] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    qa::FileNotFoundException failure;
    request->Done(&failure);
  });
  try {
    request->WaitResult(30);
    FAIL();
  } catch (const qa::FileNotFoundException& error) {
    EXPECT_EQ(2u, error.GetCode());
    EXPECT_STREQ(
        "Exception 0x00000002: The system cannot find the file specified.",
        error.what());
  }
}

TEST(RequestState, LateAnswerIsSeenByTheNextWait) {
  auto request = std::make_shared<qa::RequestState>();
  EXPECT_THROW(request->WaitResult(0), qa::ProviderCallTimedOutException);
  std::thread worker([request] { request->Done(nullptr); });
  worker.join();
  EXPECT_NO_THROW(request->WaitResult(0));
}

}  // namespace
