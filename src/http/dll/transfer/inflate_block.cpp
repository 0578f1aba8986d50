#include "transfer/inflate_block.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "transfer/inflater.h"

namespace qv {
namespace {

constexpr std::size_t kFirstOutput = 65536;
constexpr uint64_t kSuspiciousSize = uint64_t{512} << 20;
constexpr uint64_t kSuspiciousRatio = 100;
constexpr uint64_t kLongestBody = std::numeric_limits<DWORD>::max() - 1;

// Makes room behind `length` bytes; refuses what only a bomb would need.
Error Grow(MemoryBlock& block, std::size_t length, std::size_t compressed) {
  if (length < block.size()) return kNoError;
  if (length > kSuspiciousSize && length / kSuspiciousRatio > compressed) {
    return QV_ERROR_OUT_OF_MEMORY;
  }
  const uint64_t grown = std::min<uint64_t>(uint64_t{length} * 2, kLongestBody + 1);
  if (grown <= length) return QV_ERROR_OUT_OF_MEMORY;
  return block.Resize(static_cast<std::size_t>(grown));
}

Error Inflate(std::string_view compressed, MemoryBlock& block, std::size_t& length) {
  Inflater inflater;
  if (!inflater.ready()) return QV_ERROR_OUT_OF_MEMORY;
  z_stream& stream = inflater.stream();
  // zlib does not write through this pointer; its type is historical.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
  stream.avail_in = static_cast<uInt>(compressed.size());
  while (true) {
    if (Error error = Grow(block, length, compressed.size())) return error;
    const std::size_t room =
        std::min<std::size_t>(block.size() - length, std::numeric_limits<uInt>::max());
    stream.next_out = reinterpret_cast<Bytef*>(block.data() + length);
    stream.avail_out = static_cast<uInt>(room);
    const int result = inflate(&stream, Z_NO_FLUSH);
    length += room - stream.avail_out;
    if (result == Z_STREAM_END) return kNoError;
    if (result == Z_MEM_ERROR) return QV_ERROR_OUT_OF_MEMORY;
    const bool truncated = stream.avail_in == 0 && stream.avail_out > 0;
    if (result != Z_OK || truncated) return QV_ERROR_INVALID_ENCODING_TYPE;
  }
}

}  // namespace

Result<MemoryBody> InflateBlock(std::string_view compressed) {
  Result<MemoryBlock> block = MemoryBlock::Allocate(kFirstOutput);
  if (!block) return block.error();
  MemoryBody body;
  body.block = *std::move(block);
  if (Error error = Inflate(compressed, body.block, body.length)) return error;
  if (body.length == 0) return MemoryBody{};
  if (Error error = body.block.Resize(body.length + 1)) return error;
  body.block.data()[body.length] = '\0';
  return body;
}

}  // namespace qv
