// How the body of a response is delimited (RFC 9112 section 6.3).
#ifndef QV_PROTOCOL_RESPONSE_FRAMING_H_
#define QV_PROTOCOL_RESPONSE_FRAMING_H_

#include <cstddef>

#include "frame/error.h"
#include "protocol/response_state.h"

namespace qv {

struct Session;

// The framing that the fields from `first_field` on announce. Marks the connection as not reusable
// where the announcement is doubtful. QV_ERROR_INVALID_SERVER_RESPONSE for lengths that are no
// numbers, do not fit, or contradict each other.
Result<BodyFraming> FramingOf(Session& session, std::size_t first_field);

}  // namespace qv

#endif  // QV_PROTOCOL_RESPONSE_FRAMING_H_
