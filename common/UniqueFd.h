// The one owner of a file descriptor: closed when it goes out of scope, or
// earlier with Close when the caller must know whether closing worked.
#ifndef QUARRY_COMMON_UNIQUEFD_H
#define QUARRY_COMMON_UNIQUEFD_H

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quarry::common {

class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) : fd_(fd) {}
  ~UniqueFd() { Reset(); }
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      Reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int Get() const { return fd_; }
  bool Valid() const { return fd_ >= 0; }
  void Reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }
  // Closes now; 0, or the errno value of a failed close (a write that
  // failed late, on some file systems).
  int Close() {
    if (fd_ < 0) return 0;
    const int result = ::close(std::exchange(fd_, -1));
    return result == 0 ? 0 : errno;
  }

 private:
  int fd_;
};

}  // namespace quarry::common

#endif
