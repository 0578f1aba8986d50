// A movable memory block, owned until it is handed to the caller of the library.
#ifndef QV_TRANSFER_MEMORY_BLOCK_H_
#define QV_TRANSFER_MEMORY_BLOCK_H_

#include <cstddef>
#include <string_view>
#include <utility>

#include "frame/error.h"
#include "qvplatform.h"

namespace qv {

// Zero-filled at first, and locked while it is here; an empty one has no block.
class MemoryBlock {
 public:
  MemoryBlock() = default;
  MemoryBlock(MemoryBlock&& other) noexcept { swap(other); }
  MemoryBlock& operator=(MemoryBlock&& other) noexcept {
    swap(other);
    return *this;
  }
  ~MemoryBlock() { Free(); }

  // QV_ERROR_OUT_OF_MEMORY, QV_ERROR_INTERNAL_FAILURE (it cannot be locked).
  static Result<MemoryBlock> Allocate(std::size_t size);

  // Changes the size; what is added holds anything. On failure the block is as it was.
  Error Resize(std::size_t size);

  char* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::string_view bytes() const { return {data_, size_}; }

  // Hands the block over, unlocked.
  HGLOBAL Release();

 private:
  void swap(MemoryBlock& other) noexcept {
    std::swap(handle_, other.handle_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
  }
  void Free();

  HGLOBAL handle_ = nullptr;
  char* data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace qv

#endif  // QV_TRANSFER_MEMORY_BLOCK_H_
