// A TCP relay that holds every chunk of data for a fixed time in each
// direction: a domain controller as far away as another site, for a
// benchmark on one machine (no traffic shaping needed in the kernel).
#ifndef QUARRYAUTH_BENCH_DELAYINGRELAY_H
#define QUARRYAUTH_BENCH_DELAYINGRELAY_H

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class DelayingRelay {
 public:
  // Listens on listenAddress:port and relays each connection to
  // targetAddress:port, delaying each direction by delay.
  DelayingRelay(const std::string& listenAddress,
                const std::string& targetAddress, int port,
                std::chrono::milliseconds delay);
  ~DelayingRelay();
  DelayingRelay(const DelayingRelay&) = delete;
  DelayingRelay& operator=(const DelayingRelay&) = delete;

 private:
  void Accept();
  void Pump(int from, int to);

  const std::string target_;
  const int port_;
  const std::chrono::milliseconds delay_;
  int listener_ = -1;
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;
  std::vector<int> sockets_;
  std::vector<std::thread> threads_;
  std::thread acceptor_;
};

#endif
