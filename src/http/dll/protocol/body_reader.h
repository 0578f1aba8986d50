// Reads the body of a response by its framing.
#ifndef QV_PROTOCOL_BODY_READER_H_
#define QV_PROTOCOL_BODY_READER_H_

#include <cstddef>

#include "frame/error.h"

namespace qv {

struct Session;

// Reads at least one byte of the body into the buffer, without its framing; 0 at the end. A
// connection that ends too early ends the body, too: framing.complete tells the difference.
Result<std::size_t> ReadFramedBody(Session& session, char* buffer, std::size_t size);

// The same for the application's own reads: a chunked body comes with its framing.
Result<std::size_t> ReadRawBody(Session& session, char* buffer, std::size_t size);

}  // namespace qv

#endif  // QV_PROTOCOL_BODY_READER_H_
