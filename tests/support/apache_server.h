// A real web server, Apache httpd with WebDAV, as a child process with a configuration of its own.
#ifndef SUPPORT_APACHE_SERVER_H_
#define SUPPORT_APACHE_SERVER_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_dir.h"

namespace test {

// One line of the access log.
struct ApacheAccess {
  unsigned client_port = 0;   // tells connections apart
  unsigned long earlier = 0;  // requests before this one on its connection
  int status = 0;
  std::string request_line;
};

// What it offers (every <file> is one that AddFile made):
//   /<file>        the file, with ranges and validators
//   /gzip/<file>   compressed when the request accepts gzip
//   /close/<file>  without keep-alive
//   /dav/...       WebDAV with locks (RFC 4918, classes 1 and 2) in a folder of its own
class ApacheServer {
 public:
  // Returns when the server accepts connections; throws std::runtime_error when it does not start.
  ApacheServer();
  ~ApacheServer();
  ApacheServer(const ApacheServer&) = delete;
  ApacheServer& operator=(const ApacheServer&) = delete;

  std::uint16_t port() const { return port_; }
  std::string url(std::string_view path) const;

  // Offers a file; the name may contain folders.
  void AddFile(std::string_view name, std::string_view content) const;

  // The content of a file below /dav/, and whether there is a file or folder.
  std::string ReadDav(std::string_view name) const;
  bool HasDav(std::string_view name) const;

  // The access log, once it has this many entries (or patience is over): an entry is written after
  // its response was sent.
  std::vector<ApacheAccess> WaitForAccesses(std::size_t count) const;

 private:
  bool Start();
  bool HasStarted(const std::string& pid_file);
  void Stop();
  std::vector<ApacheAccess> AccessLog() const;

  TempDir folder_;
  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace test

#endif  // SUPPORT_APACHE_SERVER_H_
