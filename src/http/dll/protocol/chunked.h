// The chunked transfer coding (RFC 9112 section 7.1).
#ifndef QV_PROTOCOL_CHUNKED_H_
#define QV_PROTOCOL_CHUNKED_H_

#include <cstdint>

#include "frame/error.h"

namespace qv {

struct Session;

// Reads a chunk-size line; after the last chunk (size 0) also the trailer section, whose fields
// join the response list. A connection that ends before the line counts as the last chunk.
// QV_ERROR_INVALID_SERVER_RESPONSE for a line of 256 bytes or more and for a size that does not fit
// 32 bits; QV_ERROR_CONNECTION_CLOSED when the connection ends inside the line.
Result<uint32_t> ReadChunkSize(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_CHUNKED_H_
