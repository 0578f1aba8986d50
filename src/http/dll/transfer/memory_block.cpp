#include "transfer/memory_block.h"

namespace qv {

Result<MemoryBlock> MemoryBlock::Allocate(std::size_t size) {
  MemoryBlock block;
  block.handle_ = GlobalAlloc(GHND, size);
  if (block.handle_ == nullptr) return Error(QV_ERROR_OUT_OF_MEMORY);
  block.data_ = static_cast<char*>(GlobalLock(block.handle_));
  if (block.data_ == nullptr) return Error(QV_ERROR_INTERNAL_FAILURE);
  block.size_ = size;
  return block;
}

Error MemoryBlock::Resize(std::size_t size) {
  GlobalUnlock(handle_);
  const bool resized = GlobalReAlloc(handle_, size, GMEM_MOVEABLE) != nullptr;
  data_ = static_cast<char*>(GlobalLock(handle_));
  if (data_ == nullptr) return QV_ERROR_INTERNAL_FAILURE;
  if (!resized) return QV_ERROR_OUT_OF_MEMORY;
  size_ = size;
  return kNoError;
}

HGLOBAL MemoryBlock::Release() {
  if (handle_ != nullptr) GlobalUnlock(handle_);
  data_ = nullptr;
  size_ = 0;
  return std::exchange(handle_, nullptr);
}

void MemoryBlock::Free() {
  if (handle_ == nullptr) return;
  GlobalUnlock(handle_);
  GlobalFree(handle_);
}

}  // namespace qv
