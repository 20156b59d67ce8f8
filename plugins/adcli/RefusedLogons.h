// Credentials that the directory refused a moment ago. The library tries a
// join four times, 30 s apart, while the plug-in reports a failed logon (it
// rides out replication after a proxy creates an account); with an
// administrator's mistyped password each try would be one more failed logon
// at the domain controller, toward the account's lockout. Only a keyed hash
// of what was refused is kept, with a key that lives in this process alone,
// never the password.
#ifndef QUARRYADCLI_REFUSEDLOGONS_H
#define QUARRYADCLI_REFUSEDLOGONS_H

#include <array>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace quarryadcli {

struct Logon {
  std::string domain;
  std::string user;
  std::string password;
};

class RefusedLogons {
 public:
  using Clock = std::chrono::steady_clock;

  // Remembers each refusal for window; at most capacity refusals at once
  // (the oldest goes first).
  RefusedLogons(Clock::duration window, std::size_t capacity);

  // True when the directory refused these credentials less than window
  // before now. Domain and user compare without regard to case.
  bool Refused(const Logon& logon, Clock::time_point now);
  void RememberRefusal(const Logon& logon, Clock::time_point now);

 private:
  using Digest = std::array<unsigned char, 32>;
  struct Refusal {
    Digest digest;
    Clock::time_point until;
  };

  // False when no digest can be made; the directory is then asked.
  bool DigestOf(const Logon& logon, Digest& digest) const;
  void ForgetExpired(Clock::time_point now);

  const Clock::duration window_;
  const std::size_t capacity_;
  std::array<unsigned char, 32> key_;
  bool haveKey_ = false;
  std::mutex mutex_;
  std::vector<Refusal> refusals_;
};

// The plug-in's own memory: one retry window of the library (four attempts
// with 30 s after each failure).
RefusedLogons& RecentlyRefusedLogons();

}  // namespace quarryadcli

#endif
