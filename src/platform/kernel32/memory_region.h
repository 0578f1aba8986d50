// A piece of memory that grows and shrinks: from the heap while it is small, mapped pages of its
// own when it is large, so that growing a large region moves page-table entries and copies nothing.
#ifndef PLATFORM_KERNEL32_MEMORY_REGION_H_
#define PLATFORM_KERNEL32_MEMORY_REGION_H_

#include <cstddef>

namespace platform {

class MemoryRegion {
 public:
  MemoryRegion() = default;
  ~MemoryRegion();
  MemoryRegion(const MemoryRegion&) = delete;
  MemoryRegion& operator=(const MemoryRegion&) = delete;

  // Once, before anything else. False when there is not enough memory.
  bool Allocate(size_t size, bool zero_fill) noexcept;

  // Changes the size; what is added is zero if zero_fill. False, and nothing has changed, when
  // there is not enough memory or the region would have to move and must not.
  bool Resize(size_t size, bool zero_fill, bool may_move) noexcept;

  void* address() const { return address_; }
  size_t size() const { return size_; }

 private:
  bool Grow(size_t size, bool may_move) noexcept;
  bool GrowMapping(size_t capacity, bool may_move) noexcept;
  bool MoveToMapping(size_t capacity) noexcept;
  void Trim(size_t size) noexcept;
  void Adopt(void* address, size_t capacity, bool mapped) noexcept;

  void* address_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
  size_t used_ = 0;  // bytes from here to the capacity were never handed out and are zero
  bool mapped_ = false;
};

}  // namespace platform

#endif  // PLATFORM_KERNEL32_MEMORY_REGION_H_
