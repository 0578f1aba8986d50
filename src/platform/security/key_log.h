// The file that SSLKEYLOGFILE names: the secrets of sessions, for the analysis of recorded traffic.
#ifndef PLATFORM_SECURITY_KEY_LOG_H_
#define PLATFORM_SECURITY_KEY_LOG_H_

#include <memory>
#include <string_view>

namespace platform::security {

class KeyLog {
 public:
  // Null when the variable is not set or the file cannot be opened. The file is created readable
  // for its owner only.
  static std::shared_ptr<const KeyLog> FromEnvironment();

  explicit KeyLog(int fd) : fd_(fd) {}
  ~KeyLog();
  KeyLog(const KeyLog&) = delete;
  KeyLog& operator=(const KeyLog&) = delete;

  // Appends a line at once, so that several writers do not mix theirs.
  void Append(std::string_view line) const noexcept;

 private:
  int fd_;
};

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_KEY_LOG_H_
