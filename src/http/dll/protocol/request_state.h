// The request of a session: the headers that the application set, and the current command.
#ifndef QV_PROTOCOL_REQUEST_STATE_H_
#define QV_PROTOCOL_REQUEST_STATE_H_

#include <cstdint>
#include <string>

#include "protocol/header_list.h"
#include "protocol/method.h"

namespace qv {

struct RequestState {
  HeaderList headers;            // persists over requests
  bool expect_continue = false;  // "Expect: 100-Continue" was set and not yet answered

  bool writing = false;          // its body is on its way; no other command can begin
  bool open = false;             // a command has returned and was not closed yet
  bool complete = false;         // no body follows with Write
  bool repeatable = false;       // it may be sent again when the connection proves to be dead
  bool keep_alive_sent = false;  // the last request asked to keep the connection
  Method method = Method::kNone;
  std::string method_name;  // upper case
  std::string path;         // encoded, without query
  std::string query;        // encoded, without "?"
  std::string parameters;   // encoded; the body, or an addition to the query
  std::string message;      // work buffer: the bytes of the request

  // A PUT whose body the application streams: bytes declared and bytes written. It cannot be sent
  // again.
  bool streamed = false;
  bool streaming = false;  // and it is not closed yet
  uint64_t declared = 0;
  uint64_t written = 0;
};

}  // namespace qv

#endif  // QV_PROTOCOL_REQUEST_STATE_H_
