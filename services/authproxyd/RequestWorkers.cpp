#include "services/authproxyd/RequestWorkers.h"

#include <exception>
#include <string>

namespace quarry::authproxyd {

struct RequestWorkers::Task {
  std::function<Answer()> work;
  Clock::time_point deadline;
  std::function<bool()> wanted;
  std::optional<Answer> answer;  // guarded by the workers' mutex
};

RequestWorkers::RequestWorkers(int count) {
  for (int i = 0; i < count; ++i) threads_.emplace_back([this] { Work(); });
}

RequestWorkers::~RequestWorkers() {
  Stop();
  for (std::thread& thread : threads_) thread.join();
}

void RequestWorkers::Stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    queue_.clear();
  }
  queued_.notify_all();
  answered_.notify_all();
}

bool RequestWorkers::Stopped() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return stopping_;
}

std::optional<Answer> RequestWorkers::Run(std::function<Answer()> work,
                                          Clock::time_point deadline,
                                          std::function<bool()> wanted) {
  auto task = std::make_shared<Task>();
  task->work = std::move(work);
  task->deadline = deadline;
  task->wanted = std::move(wanted);
  std::unique_lock<std::mutex> lock(mutex_);
  if (stopping_) return std::nullopt;
  queue_.push_back(task);
  queued_.notify_one();
  answered_.wait_until(lock, deadline, [this, &task] {
    return stopping_ || task->answer.has_value();
  });
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
    if (task->wanted && !task->wanted()) continue;
    Answer answer;
    try {
      answer = task->work();
    } catch (const std::exception& error) {
      answer = ErrorAnswer(500, std::string("the proxy failed: ") + error.what());
    }
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      task->answer = std::move(answer);
    }
    answered_.notify_all();
  }
}

}  // namespace quarry::authproxyd
