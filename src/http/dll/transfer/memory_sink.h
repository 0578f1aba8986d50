// Collects a body in a memory block.
#ifndef QV_TRANSFER_MEMORY_SINK_H_
#define QV_TRANSFER_MEMORY_SINK_H_

#include <cstdint>

#include "transfer/body_loop.h"
#include "transfer/memory_block.h"

namespace qv {

struct Session;

// A body in memory: the block is one byte longer than the body, and that byte is 0. An empty body
// has no block.
struct MemoryBody {
  MemoryBlock block;
  std::size_t length = 0;
};

// A block of the announced length, or one that grows as the body arrives. Lengths beyond 32 bits
// are QV_ERROR_OUT_OF_MEMORY.
class MemorySink final : public BodySink {
 public:
  // Takes the block for the session's response.
  static Result<MemorySink> Create(const Session& session);

  Result<std::span<char>> Space() override;
  Error Filled(std::size_t count) override;

  // The collected body, in a block of its own size.
  Result<MemoryBody> Take();

 private:
  explicit MemorySink(MemoryBlock block) : block_(std::move(block)) {}

  MemoryBlock block_;
  std::size_t length_ = 0;
};

}  // namespace qv

#endif  // QV_TRANSFER_MEMORY_SINK_H_
