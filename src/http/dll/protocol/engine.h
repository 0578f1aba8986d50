// The protocol behind a session: one interface, so that each transfer operation is written once.
#ifndef QV_PROTOCOL_ENGINE_H_
#define QV_PROTOCOL_ENGINE_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/error.h"

namespace qv {

struct Session;

// What HttpCommand is asked to send.
struct CommandArguments {
  std::string_view method;    // any case
  std::string_view resource;  // path with or without query, or absolute URL
  std::string_view parameters = {};
  uint64_t declared_length = 0;  // Content-Length of a body that follows with Write, 0 = none
  bool complete = false;         // no body follows, not even one of a PUT without parameters
};

class Engine {
 public:
  virtual ~Engine() = default;

  // Sends a request and reads the header of its response, or leaves it unread where the body is
  // still to be written. The result code.
  virtual Result<INT> Command(Session& session, const CommandArguments& arguments) = 0;

  // Reads the response header if a request is waiting for one.
  virtual Error ReadResponse(Session& session) = 0;

  // HttpRead: bytes of the body as they arrive, 0 at its end.
  virtual Result<INT> Read(Session& session, void* buffer, INT size) = 0;

  // Bytes of the body without its framing; 0 at its end. Counts them as transferred.
  virtual Result<std::size_t> ReadBody(Session& session, char* buffer, std::size_t size) = 0;

  // HttpWrite: sends at least one byte.
  virtual Result<INT> Write(Session& session, const void* data, INT size) = 0;

  // HttpIsReadable and HttpIsWritable; `available` receives the bytes at hand.
  virtual Result<bool> IsReadable(Session& session, INT timeout, DWORD* available) = 0;
  virtual Result<bool> IsWritable(Session& session, INT timeout) = 0;

  // HttpCloseFile: ends the open request.
  virtual Error CloseRequest(Session& session) = 0;

  // Connects again to where the session is connected. A failure releases the session.
  virtual Error Reconnect(Session& session) = 0;

  // HttpDisconnect, up to the release of the session.
  virtual Error Disconnect(Session& session) = 0;
};

}  // namespace qv

#endif  // QV_PROTOCOL_ENGINE_H_
