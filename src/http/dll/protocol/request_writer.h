// Writes a request: request line, header block and body.
#ifndef QV_PROTOCOL_REQUEST_WRITER_H_
#define QV_PROTOCOL_REQUEST_WRITER_H_

#include <string_view>

#include "frame/error.h"
#include "protocol/engine.h"

namespace qv {

struct Session;

// Composes and sends the request of the session's current method and parameters. On success the
// response is pending (except over HTTP/0.9, whose whole input is the body).
Error WriteRequest(Session& session, const CommandArguments& arguments);

}  // namespace qv

#endif  // QV_PROTOCOL_REQUEST_WRITER_H_
