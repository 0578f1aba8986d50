// The chunked transfer coding (RFC 9112 section 7.1).
#ifndef QV_PROTOCOL_CHUNKED_H_
#define QV_PROTOCOL_CHUNKED_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/error.h"

namespace qv {

struct Session;

// The size line of a chunk.
struct ChunkLine {
  uint32_t size = 0;
  std::size_t end = 0;  // bytes up to behind its line end
};

// The size line at the front of what was received, `end` 0 when it has not come whole. The last
// chunk and malformed lines, which ReadChunkSize deals with, count as not come.
ChunkLine FindChunkLine(std::string_view received);

// Reads a chunk-size line into the framing of the response; after the last chunk (size 0) also the
// trailer section, whose fields join the response list, and the body is complete. A connection that
// ends before the line gives 0, too, and the body stays incomplete.
// QV_ERROR_INVALID_SERVER_RESPONSE for a line of 256 bytes or more and for a size that does not fit
// 32 bits; QV_ERROR_CONNECTION_CLOSED when the connection ends inside the line. A line is taken
// whole or not at all, so that a wait that fails loses nothing.
Result<uint32_t> ReadChunkSize(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_CHUNKED_H_
