#include "services/authproxyd/ConnectionLimits.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

namespace quarry::authproxyd {

namespace {

constexpr auto kWatchInterval = std::chrono::milliseconds(100);

thread_local ConnectionLimits* servingLimits = nullptr;
thread_local ConnectionLimits::Clock::time_point servingArrival;

}  // namespace

// Fixed workers and a queue of the same length; enqueue waits while it is
// full, which holds back the accept loop.
class ConnectionLimits::Queue : public httplib::TaskQueue {
 public:
  explicit Queue(ConnectionLimits& limits) : limits_(limits) {
    for (int i = 0; i < limits_.connections_; ++i) {
      workers_.emplace_back([this] { Work(); });
    }
  }
  ~Queue() override { shutdown(); }

  void enqueue(std::function<void()> serve) override {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] {
      return stopping_ ||
             waiting_.size() < static_cast<std::size_t>(limits_.connections_);
    });
    waiting_.emplace_back(std::move(serve), Clock::now());
    changed_.notify_all();
  }

  void shutdown() override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (stopping_ && workers_.empty()) return;
      stopping_ = true;
    }
    changed_.notify_all();
    for (std::thread& worker : workers_) worker.join();
    workers_.clear();
  }

 private:
  void Work() {
    for (;;) {
      std::pair<std::function<void()>, Clock::time_point> next;
      {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
        // Connections still waiting at shutdown are served, so that each
        // is answered and closed.
        if (waiting_.empty()) return;
        next = std::move(waiting_.front());
        waiting_.pop_front();
      }
      changed_.notify_all();
      limits_.Begin(next.second);
      next.first();
      limits_.End();
    }
  }

  ConnectionLimits& limits_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::pair<std::function<void()>, Clock::time_point>> waiting_;
  bool stopping_ = false;
  std::vector<std::thread> workers_;
};

ConnectionLimits::ConnectionLimits(int connections,
                                   std::chrono::seconds receiveLimit)
    : connections_(connections),
      receiveLimit_(receiveLimit),
      watchdog_([this] { Enforce(); }) {}

ConnectionLimits::~ConnectionLimits() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = true;
  }
  stopping_.notify_all();
  watchdog_.join();
}

httplib::TaskQueue* ConnectionLimits::NewQueue() { return new Queue(*this); }

void ConnectionLimits::Watch(SSL_CTX& context) {
  SSL_CTX_set_info_callback(&context, OnTlsEvent);
}

ConnectionLimits::Clock::time_point ConnectionLimits::Arrival() {
  return servingLimits != nullptr ? servingArrival : Clock::now();
}

void ConnectionLimits::Received() {
  if (servingLimits != nullptr) servingLimits->MarkReceived();
}

std::function<bool()> ConnectionLimits::ClientWaiting() {
  if (servingLimits == nullptr) return nullptr;
  const int socket = servingLimits->DuplicateSocket();
  if (socket < 0) return nullptr;
  const std::shared_ptr<int> held(new int(socket), [](int* fd) {
    ::close(*fd);
    delete fd;
  });
  // A client that has closed or reset its end is gone; one that merely
  // has more to send is not.
  return [held] {
    pollfd state = {*held, POLLRDHUP, 0};
    return ::poll(&state, 1, 0) == 0 ||
           (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0;
  };
}

int ConnectionLimits::DuplicateSocket() {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = serving_.find(std::this_thread::get_id());
  if (found == serving_.end() || found->second.socket < 0) return -1;
  return ::fcntl(found->second.socket, F_DUPFD_CLOEXEC, 0);
}

void ConnectionLimits::OnTlsEvent(const SSL* session, int where, int) {
  if ((where & SSL_CB_HANDSHAKE_START) != 0 && servingLimits != nullptr) {
    servingLimits->SessionStarted(SSL_get_fd(session));
  }
}

void ConnectionLimits::Begin(Clock::time_point accepted) {
  servingLimits = this;
  servingArrival = accepted;
  const std::lock_guard<std::mutex> lock(mutex_);
  serving_[std::this_thread::get_id()].accepted = accepted;
}

// A duplicate of the socket lets the watchdog shut this connection down
// even while the server closes its own descriptor: shutdown acts on the
// socket, and the duplicate keeps it from being reused for another.
void ConnectionLimits::SessionStarted(int socket) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Connection& connection = serving_[std::this_thread::get_id()];
  if (connection.socket >= 0 || socket < 0) return;
  connection.socket = ::fcntl(socket, F_DUPFD_CLOEXEC, 0);
}

void ConnectionLimits::MarkReceived() {
  const std::lock_guard<std::mutex> lock(mutex_);
  serving_[std::this_thread::get_id()].received = true;
}

void ConnectionLimits::End() {
  servingLimits = nullptr;
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = serving_.find(std::this_thread::get_id());
  if (found == serving_.end()) return;
  if (found->second.socket >= 0) ::close(found->second.socket);
  serving_.erase(found);
}

void ConnectionLimits::Enforce() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!stopping_.wait_for(lock, kWatchInterval, [this] { return stopped_; })) {
    const Clock::time_point limit = Clock::now() - receiveLimit_;
    for (auto& entry : serving_) {
      Connection& connection = entry.second;
      if (connection.received || connection.shut || connection.socket < 0 ||
          connection.accepted > limit) {
        continue;
      }
      ::shutdown(connection.socket, SHUT_RDWR);
      connection.shut = true;
    }
  }
}

}  // namespace quarry::authproxyd
