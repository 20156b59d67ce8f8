// The workers that run the requests' directory work: answers in time, a
// deadline kept whatever the work does, and work whose deadline passed
// while it waited never started.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "services/authproxyd/RequestWorkers.h"

namespace quarry::authproxyd {
namespace {

Clock::time_point In(int milliseconds) {
  return Clock::now() + std::chrono::milliseconds(milliseconds);
}

TEST(RequestWorkersTest, AnswersWithTheWorksAnswer) {
  RequestWorkers workers(2);
  const std::optional<Answer> answer =
      workers.Run([] { return Answer{201, "{}"}; }, In(10000));
  ASSERT_TRUE(answer.has_value());
  EXPECT_EQ(answer->status, 201);
  EXPECT_EQ(answer->body, "{}");
}

TEST(RequestWorkersTest, TurnsAFailureOfTheWorkInto500) {
  RequestWorkers workers(1);
  const std::optional<Answer> answer = workers.Run(
      []() -> Answer { throw std::runtime_error("no randomness"); }, In(10000));
  ASSERT_TRUE(answer.has_value());
  EXPECT_EQ(answer->status, 500);
  EXPECT_EQ(answer->body, "{\"error\":\"the proxy failed: no randomness\"}");
}

TEST(RequestWorkersTest, KeepsTheDeadlineAndNeverStartsWorkThatWaitedPastIt) {
  RequestWorkers workers(1);
  std::mutex mutex;
  std::condition_variable released;
  bool release = false;
  std::atomic<int> started{0};
  // The one worker is held by slow work; the caller is answered at the
  // deadline all the same.
  std::thread slow([&] {
    EXPECT_FALSE(workers
                     .Run(
                         [&] {
                           ++started;
                           std::unique_lock<std::mutex> lock(mutex);
                           released.wait(lock, [&] { return release; });
                           return Answer{200, "{}"};
                         },
                         In(100))
                     .has_value());
  });
  while (started == 0) std::this_thread::yield();
  // Queued behind it, this work's deadline passes before a worker is free.
  EXPECT_FALSE(workers.Run([&] { ++started; return Answer{}; }, In(100)).has_value());
  slow.join();
  {
    const std::lock_guard<std::mutex> lock(mutex);
    release = true;
  }
  released.notify_all();
  // The worker is free again and the queued work was dropped, not run.
  EXPECT_EQ(workers.Run([] { return Answer{204, ""}; }, In(10000))->status, 204);
  EXPECT_EQ(started, 1);
}

TEST(RequestWorkersTest, NeverStartsWorkNoLongerWanted) {
  RequestWorkers workers(1);
  std::atomic<int> started{0};
  EXPECT_FALSE(workers
                   .Run([&] { ++started; return Answer{}; }, In(200),
                        [] { return false; })
                   .has_value());
  EXPECT_EQ(workers.Run([&] { ++started; return Answer{202, ""}; }, In(10000),
                        [] { return true; })
                ->status,
            202);
  EXPECT_EQ(started, 1);
}

TEST(RequestWorkersTest, AnswersEveryWaitingCallerAtOnceWhenStopped) {
  RequestWorkers workers(1);
  std::mutex mutex;
  std::condition_variable released;
  bool release = false;
  std::atomic<bool> running{false};
  std::thread waiting([&] {
    EXPECT_FALSE(workers
                     .Run(
                         [&] {
                           running = true;
                           std::unique_lock<std::mutex> lock(mutex);
                           released.wait(lock, [&] { return release; });
                           return Answer{};
                         },
                         In(60000))
                     .has_value());
  });
  while (!running) std::this_thread::yield();
  EXPECT_FALSE(workers.Stopped());
  const auto stopped = Clock::now();
  workers.Stop();
  waiting.join();
  EXPECT_LT(Clock::now() - stopped, std::chrono::seconds(5));
  EXPECT_TRUE(workers.Stopped());
  EXPECT_FALSE(workers.Run([] { return Answer{}; }, In(60000)).has_value());
  {
    const std::lock_guard<std::mutex> lock(mutex);
    release = true;
  }
  released.notify_all();
}

}  // namespace
}  // namespace quarry::authproxyd
