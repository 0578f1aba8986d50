// Decoding of compressed bodies in memory.
#ifndef QV_TRANSFER_INFLATE_BLOCK_H_
#define QV_TRANSFER_INFLATE_BLOCK_H_

#include <string_view>

#include "transfer/memory_sink.h"

namespace qv {

// Inflates zlib or gzip data (RFC 1950, RFC 1952) into a new block.
// QV_ERROR_INVALID_ENCODING_TYPE for malformed or truncated data and for a stream that wants a
// dictionary; QV_ERROR_OUT_OF_MEMORY also for a body that grows beyond 512 MiB at more than 100
// times its received size.
Result<MemoryBody> InflateBlock(std::string_view compressed);

}  // namespace qv

#endif  // QV_TRANSFER_INFLATE_BLOCK_H_
