// Reads the header of a response and decides what it means.
#ifndef QV_PROTOCOL_RESPONSE_READER_H_
#define QV_PROTOCOL_RESPONSE_READER_H_

#include "frame/error.h"

namespace qv {

struct Session;

// Reads status line and fields of the pending response, passes interim responses over, works out
// how the body is delimited and maps the status to an error. Follows a redirect when the session
// asks for it. Does nothing when no response is pending.
Error ReadResponseHeader(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_RESPONSE_READER_H_
