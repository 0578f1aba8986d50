// A server program that runs beside the test.
#ifndef SUPPORT_SERVER_PROCESS_H_
#define SUPPORT_SERVER_PROCESS_H_

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace test {

class ServerProcess {
 public:
  // The program, looked for in PATH and /usr/sbin, and its arguments for a port of 127.0.0.1.
  using Command = std::function<std::vector<std::string>(std::uint16_t port)>;

  // Returns when the server accepts connections (one was made and closed); throws
  // std::runtime_error when it does not start.
  explicit ServerProcess(const Command& command);
  ~ServerProcess() { Stop(); }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  std::uint16_t port() const { return port_; }

 private:
  void Start(std::vector<std::string> words);
  bool HasEnded();
  void Stop();

  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace test

#endif  // SUPPORT_SERVER_PROCESS_H_
