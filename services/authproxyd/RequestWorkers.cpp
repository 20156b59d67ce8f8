#include "services/authproxyd/RequestWorkers.h"

#include <exception>
#include <string>

namespace quarry::authproxyd {

struct RequestWorkers::Task {
  std::function<Answer()> work;
  Clock::time_point deadline;
  std::mutex mutex;
  std::condition_variable finished;
  std::optional<Answer> answer;
};

RequestWorkers::RequestWorkers(int count) {
  for (int i = 0; i < count; ++i) threads_.emplace_back([this] { Work(); });
}

RequestWorkers::~RequestWorkers() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    queue_.clear();
  }
  queued_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

std::optional<Answer> RequestWorkers::Run(std::function<Answer()> work,
                                          Clock::time_point deadline) {
  auto task = std::make_shared<Task>();
  task->work = std::move(work);
  task->deadline = deadline;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    queue_.push_back(task);
  }
  queued_.notify_one();
  std::unique_lock<std::mutex> lock(task->mutex);
  task->finished.wait_until(lock, deadline,
                            [&task] { return task->answer.has_value(); });
  return task->answer;
}

void RequestWorkers::Work() {
  for (;;) {
    std::shared_ptr<Task> task;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      queued_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      task = queue_.front();
      queue_.pop_front();
    }
    if (Clock::now() >= task->deadline) continue;
    Answer answer;
    try {
      answer = task->work();
    } catch (const std::exception& error) {
      answer = ErrorAnswer(500, std::string("the proxy failed: ") + error.what());
    }
    {
      const std::lock_guard<std::mutex> lock(task->mutex);
      task->answer = std::move(answer);
    }
    task->finished.notify_all();
  }
}

}  // namespace quarry::authproxyd
