// A real web server, nginx, as a child process with a configuration of its own.
#ifndef SUPPORT_WEB_SERVER_H_
#define SUPPORT_WEB_SERVER_H_

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_dir.h"
#include "support/wait_until.h"

namespace test {

// One line of the access log.
struct Access {
  unsigned long connection = 0;  // serial number of the connection
  unsigned long request = 0;     // serial number of the request on its connection, from 1
  int status = 0;
  std::string request_line;
};

// What it offers (every <file> is one that AddFile made):
//   /<file>                     the file, with ranges and validators
//   /chunked/<file>             in the chunked coding
//   /untilclose/<file>          without length, ends with the connection
//   /gzip/<file>                compressed when the request accepts gzip
//   /slow/<file>                32 KiB a second
//   /close/<file>               without keep-alive
//   /basic/<file>               for user "user" with password "password" only
//   /redirect/<status>/<path>   to /<path> of this server; 301, 302, 303, 307, 308
//   /relative/<status>/<path>   the same with a Location that is a path
//   /status/<status>            an empty 204, or an error page
//   /headers                    200, the request as the server saw it, see HeadersPage
//   /cookie/<name>/<value>      200, sets a cookie
//   /dav/...                    PUT, DELETE, MKCOL, COPY, MOVE, GET in the folder dav_file names
class WebServer {
 public:
  static constexpr const char* kUser = "user";
  static constexpr const char* kPassword = "password";

  // Returns when the server accepts connections; throws std::runtime_error when it does not start.
  WebServer();
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  std::uint16_t port() const { return port_; }
  std::string url(std::string_view path) const;

  // Offers a file; the name may contain folders.
  void AddFile(std::string_view name, std::string_view content) const;

  // The content of a file below /dav/, and whether there is one.
  std::string ReadDav(std::string_view name) const;
  bool HasDav(std::string_view name) const;

  // The access log so far. An entry is written after its response was sent, so wait for it.
  std::vector<Access> access_log() const;
  bool WaitForAccesses(std::size_t count, std::chrono::milliseconds timeout = kPatience) const;

  // The content of "Name: " in the text that /headers answers with: Method, Uri, Protocol, Host,
  // User-Agent, Accept, Accept-Encoding, Connection, Cookie, Authorization, Content-Type,
  // Content-Length, Referer, Range, X-Test.
  static std::string HeadersPage(std::string_view page, std::string_view name);

 private:
  bool Start();
  bool HasStarted(const std::string& pid_file);
  void Stop();

  TempDir folder_;
  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace test

#endif  // SUPPORT_WEB_SERVER_H_
