#include "security/key_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace platform::security {

std::shared_ptr<const KeyLog> KeyLog::FromEnvironment() {
  const char* const path = secure_getenv("SSLKEYLOGFILE");
  if (path == nullptr || *path == '\0') return nullptr;
  const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
  return fd >= 0 ? std::make_shared<const KeyLog>(fd) : nullptr;
}

KeyLog::~KeyLog() { close(fd_); }

void KeyLog::Append(std::string_view line) const noexcept {
  char line_end = '\n';
  const std::array<iovec, 2> parts = {
      {{const_cast<char*>(line.data()), line.size()}, {&line_end, sizeof(line_end)}}};
  // Logging must not disturb the connection: a failure is not reported.
  [[maybe_unused]] const ssize_t written = writev(fd_, parts.data(), parts.size());
}

}  // namespace platform::security
