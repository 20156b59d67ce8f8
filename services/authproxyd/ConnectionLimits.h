// The proxy's bounds on its HTTPS connections, as cpp-httplib's task queue
// and a watch on each connection's TLS session:
//
// - At most `connections` are served at once and as many wait; while all
//   are taken the accept loop waits too, so further clients wait in the
//   kernel's queue, not in memory of ours.
// - A connection that has not delivered its whole request within the
//   receive limit of being accepted is shut down, however slowly it
//   trickles its handshake, headers or body.
// - The moment a connection was accepted is its request's arrival, from
//   which the request's own deadline counts.
#ifndef QUARRY_AUTHPROXYD_CONNECTIONLIMITS_H
#define QUARRY_AUTHPROXYD_CONNECTIONLIMITS_H

#include <httplib.h>
#include <openssl/ssl.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace quarry::authproxyd {

class ConnectionLimits {
 public:
  using Clock = std::chrono::steady_clock;

  ConnectionLimits(int connections, std::chrono::seconds receiveLimit);
  ~ConnectionLimits();
  ConnectionLimits(const ConnectionLimits&) = delete;
  ConnectionLimits& operator=(const ConnectionLimits&) = delete;

  // The task queue for one run of the server; the server owns it.
  httplib::TaskQueue* NewQueue();
  // Has the TLS context report each session's socket to this watch.
  void Watch(SSL_CTX& context);

  // On the thread that serves a connection: when it was accepted, and that
  // its request has been received whole.
  static Clock::time_point Arrival();
  static void Received();
  // A check, usable from any thread for as long as it is kept, of whether
  // the client of this thread's connection is still connected; empty when
  // this thread serves no watched connection.
  static std::function<bool()> ClientWaiting();

 private:
  class Queue;
  struct Connection {
    Clock::time_point accepted;
    int socket = -1;  // our duplicate of the session's socket
    bool received = false;
    bool shut = false;
  };

  static void OnTlsEvent(const SSL* session, int where, int value);
  void Begin(Clock::time_point accepted);
  void SessionStarted(int socket);
  void MarkReceived();
  int DuplicateSocket();
  void End();
  void Enforce();

  const int connections_;
  const std::chrono::seconds receiveLimit_;
  std::mutex mutex_;
  std::condition_variable stopping_;
  bool stopped_ = false;
  std::map<std::thread::id, Connection> serving_;
  std::thread watchdog_;
};

}  // namespace quarry::authproxyd

#endif
