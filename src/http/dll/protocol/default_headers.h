// The headers that every request gets from the library.
#ifndef QV_PROTOCOL_DEFAULT_HEADERS_H_
#define QV_PROTOCOL_DEFAULT_HEADERS_H_

#include "frame/error.h"

namespace qv {

struct CommandArguments;
struct Session;

// Adds the default headers to the session's request list, in their fixed order: one that is set
// replaces what the application set, one that is added leaves it alone. Those that belong to this
// request alone (lengths and credentials) leave the list with the next request.
Error ApplyDefaultHeaders(Session& session, const CommandArguments& arguments);

}  // namespace qv

#endif  // QV_PROTOCOL_DEFAULT_HEADERS_H_
