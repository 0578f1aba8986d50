// The chunked transfer coding (RFC 9112 section 7.1).
#ifndef QV_PROTOCOL_CHUNKED_H_
#define QV_PROTOCOL_CHUNKED_H_

#include <cstdint>

#include "frame/error.h"

namespace qv {

struct Session;

// Goes on to the next chunk if its size line has been received whole; whether it has. Never waits,
// and leaves the last chunk and malformed lines to ReadChunkSize.
bool TakeChunkSize(Session& session);

// Reads a chunk-size line into the framing of the response; after the last chunk (size 0) also the
// trailer section, whose fields join the response list, and the body is complete. A connection that
// ends before the line gives 0, too, and the body stays incomplete.
// QV_ERROR_INVALID_SERVER_RESPONSE for a line of 256 bytes or more and for a size that does not fit
// 32 bits; QV_ERROR_CONNECTION_CLOSED when the connection ends inside the line. A line is taken
// whole or not at all, so that a wait that fails loses nothing.
Result<uint32_t> ReadChunkSize(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_CHUNKED_H_
