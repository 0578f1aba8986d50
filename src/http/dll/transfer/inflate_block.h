// Decoding of compressed bodies in memory.
#ifndef QV_TRANSFER_INFLATE_BLOCK_H_
#define QV_TRANSFER_INFLATE_BLOCK_H_

#include <cstdint>
#include <string_view>

#include "transfer/memory_sink.h"

namespace qv {

// Beyond this size a body that is more than 100 times as long as what was received counts as a
// bomb.
inline constexpr uint64_t kSuspiciousSize = uint64_t{512} << 20;

// Inflates zlib or gzip data (RFC 1950, RFC 1952) into a new block.
// QV_ERROR_INVALID_ENCODING_TYPE for malformed or truncated data and for a stream that wants a
// dictionary; QV_ERROR_OUT_OF_MEMORY also for a bomb.
Result<MemoryBody> InflateBlock(std::string_view compressed,
                                uint64_t suspicious_size = kSuspiciousSize);

}  // namespace qv

#endif  // QV_TRANSFER_INFLATE_BLOCK_H_
