#include "transfer/memory_sink.h"

#include <algorithm>
#include <limits>

#include "frame/session.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

// The length is reported in 32 bits, and the block is one byte longer.
constexpr uint64_t kLongestBody = std::numeric_limits<DWORD>::max() - 1;

}  // namespace

Result<MemorySink> MemorySink::Create(const Session& session) {
  const BodyFraming& framing = session.response.framing;
  uint64_t length = kPieceSize;
  if (framing.kind == BodyFraming::Kind::kLength) length = framing.remaining;
  if (framing.complete) length = 0;
  if (length > kLongestBody) return Error(QV_ERROR_OUT_OF_MEMORY);
  Result<MemoryBlock> block = MemoryBlock::Allocate(static_cast<std::size_t>(length) + 1);
  if (!block) return block.error();
  return MemorySink(*std::move(block));
}

Result<std::span<char>> MemorySink::Space() {
  if (length_ == block_.size()) {
    if (length_ >= kLongestBody) return Error(QV_ERROR_OUT_OF_MEMORY);
    const uint64_t grown = length_ + std::max<uint64_t>(kPieceSize, length_);
    if (Error error = block_.Resize(static_cast<std::size_t>(std::min(grown, kLongestBody + 1)))) {
      return error;
    }
  }
  return std::span<char>(block_.data() + length_, block_.size() - length_);
}

Error MemorySink::Filled(std::size_t count) {
  length_ += count;
  return kNoError;
}

Result<MemoryBody> MemorySink::Take() {
  if (length_ > kLongestBody) return Error(QV_ERROR_OUT_OF_MEMORY);
  if (length_ == 0) return MemoryBody{};
  if (block_.size() != length_ + 1) {
    if (Error error = block_.Resize(length_ + 1)) return error;
  }
  block_.data()[length_] = '\0';
  return MemoryBody{std::move(block_), length_};
}

}  // namespace qv
