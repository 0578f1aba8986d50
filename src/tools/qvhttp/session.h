#ifndef TOOLS_QVHTTP_SESSION_H_
#define TOOLS_QVHTTP_SESSION_H_

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "options.h"
#include "qvhttp12.h"

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// One connection to the server of the command line's URL, with its headers and credentials set.
// Every member function throws Failure.
class Session {
 public:
  explicit Session(const Options& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Sends the request of the command line and reads the header of the response. Returns the status
  // code, whatever it is.
  int Send();

  // The next bytes of the body as they came over the wire; 0 at the end.
  std::size_t Read(char* buffer, std::size_t capacity);

  // The length that the response announced, if it did.
  std::optional<std::uint64_t> AnnouncedLength() const;

  // The fields of the last request or response (HTTP_HEADERS_*), in order.
  HeaderList Headers(DWORD header_type) const;

  std::string ReasonPhrase() const;

  // Where a redirect response points to; empty when it names no location.
  std::string RedirectUrl() const;

 private:
  void SetHeaders();
  void SetCredentials(const HTTPURLCOMPONENTSA& parts);
  void Trace(bool with_response) const;

  const Options& options_;
  std::string target_;
  HCLIENT client_ = INVALID_CLIENT;
};

#endif  // TOOLS_QVHTTP_SESSION_H_
