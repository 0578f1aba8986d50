#include "transfer/inflate_block.h"

#include <algorithm>
#include <limits>

#include "transfer/inflater.h"

namespace qv {
namespace {

constexpr std::size_t kFirstOutput = 65536;
constexpr uint64_t kSuspiciousRatio = 100;
constexpr uint64_t kLongestBody = std::numeric_limits<DWORD>::max() - 1;

// Makes room behind `length` bytes: twice the block, but one byte more than allowed at the most,
// which tells a body of the largest size from a longer one.
Error Grow(MemoryBlock& block, std::size_t length, uint64_t allowed) {
  if (length > allowed) return QV_ERROR_OUT_OF_MEMORY;
  if (length < block.size()) return kNoError;
  const uint64_t grown = std::min<uint64_t>(uint64_t{length} * 2, allowed + 1);
  return block.Resize(static_cast<std::size_t>(grown));
}

Error Inflate(std::string_view compressed, MemoryBody& body, uint64_t allowed) {
  Inflater inflater(QV_ERROR_INVALID_ENCODING_TYPE);
  while (true) {
    if (Error error = Grow(body.block, body.length, allowed)) return error;
    const std::span<char> room(body.block.data() + body.length, body.block.size() - body.length);
    Result<std::size_t> count = inflater.Decode(compressed, room);
    if (!count) return count.error();
    body.length += *count;
    if (inflater.complete()) break;
    if (*count < room.size()) return QV_ERROR_INVALID_ENCODING_TYPE;  // it ends too early
  }
  return body.length > allowed ? Error(QV_ERROR_OUT_OF_MEMORY) : kNoError;
}

}  // namespace

Result<MemoryBody> InflateBlock(std::string_view compressed, uint64_t suspicious_size) {
  Result<MemoryBlock> block = MemoryBlock::Allocate(kFirstOutput);
  if (!block) return block.error();
  MemoryBody body;
  body.block = *std::move(block);
  const uint64_t allowed =
      std::min(kLongestBody, std::max(suspicious_size, compressed.size() * kSuspiciousRatio));
  if (Error error = Inflate(compressed, body, allowed)) return error;
  if (body.length == 0) return MemoryBody{};
  if (Error error = body.block.Resize(body.length + 1)) return error;
  body.block.data()[body.length] = '\0';
  return body;
}

}  // namespace qv
