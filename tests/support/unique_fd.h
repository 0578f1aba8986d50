// A descriptor that closes itself.
#ifndef SUPPORT_UNIQUE_FD_H_
#define SUPPORT_UNIQUE_FD_H_

#include <unistd.h>

#include <utility>

namespace test {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, kNone)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.fd_, kNone));
    return *this;
  }
  ~UniqueFd() { Reset(); }

  int get() const { return fd_; }
  bool valid() const { return fd_ != kNone; }
  void Reset(int fd = kNone) {
    if (fd_ != kNone) close(fd_);
    fd_ = fd;
  }

 private:
  static constexpr int kNone = -1;
  int fd_ = kNone;
};

}  // namespace test

#endif  // SUPPORT_UNIQUE_FD_H_
