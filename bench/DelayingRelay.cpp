#include "bench/DelayingRelay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace {

sockaddr_in Address(const std::string& address, int port) {
  sockaddr_in result = {};
  result.sin_family = AF_INET;
  result.sin_port = htons(static_cast<uint16_t>(port));
  ::inet_pton(AF_INET, address.c_str(), &result.sin_addr);
  return result;
}

void NoDelay(int socket) {
  const int yes = 1;
  ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

}  // namespace

DelayingRelay::DelayingRelay(const std::string& listenAddress,
                             const std::string& targetAddress, int port,
                             std::chrono::milliseconds delay)
    : target_(targetAddress), port_(port), delay_(delay) {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  const sockaddr_in address = Address(listenAddress, port);
  if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address),
             sizeof address) != 0 ||
      ::listen(listener_, SOMAXCONN) != 0) {
    ::close(listener_);
    throw std::runtime_error("cannot listen on " + listenAddress);
  }
  acceptor_ = std::thread([this] { Accept(); });
}

DelayingRelay::~DelayingRelay() {
  stopping_ = true;
  acceptor_.join();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const int socket : sockets_) ::shutdown(socket, SHUT_RDWR);
  }
  for (std::thread& thread : threads_) thread.join();
  for (const int socket : sockets_) ::close(socket);
  ::close(listener_);
}

void DelayingRelay::Accept() {
  while (!stopping_) {
    pollfd wanted = {listener_, POLLIN, 0};
    if (::poll(&wanted, 1, 100) != 1) continue;
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Address(target_, port_);
    if (::connect(server, reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) != 0) {
      ::close(server);
      ::close(client);
      continue;
    }
    NoDelay(client);
    NoDelay(server);
    const std::lock_guard<std::mutex> lock(mutex_);
    sockets_.push_back(client);
    sockets_.push_back(server);
    threads_.emplace_back([this, client, server] { Pump(client, server); });
    threads_.emplace_back([this, client, server] { Pump(server, client); });
  }
}

// Each chunk waits out the delay before it is passed on, as if it had
// crossed a slow link; chunks that arrive meanwhile queue behind it.
void DelayingRelay::Pump(int from, int to) {
  char buffer[16384];
  for (;;) {
    const ssize_t got = ::recv(from, buffer, sizeof buffer, 0);
    if (got <= 0) break;
    std::this_thread::sleep_for(delay_);
    if (::send(to, buffer, static_cast<std::size_t>(got), MSG_NOSIGNAL) != got) {
      break;
    }
  }
  ::shutdown(to, SHUT_WR);
}
