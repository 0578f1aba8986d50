#include "kernel32/memory_region.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace platform {
namespace {

// From here on a region has pages of its own.
constexpr size_t kMappedSize = size_t{128} * 1024;
// From here on it asks for huge pages and lies at a multiple of their size: a page fault per 4 KiB
// of a large body costs more than the copy into it.
constexpr size_t kHugePageSize = size_t{2} * 1024 * 1024;
constexpr size_t kMaxSize = static_cast<size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / 2;
constexpr size_t kHeapStep = 64;

size_t PageSize() {
  static const auto size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

size_t RoundUp(size_t size, size_t unit) { return (size + unit - 1) / unit * unit; }

size_t RoundForStorage(size_t size) {
  return RoundUp(std::max<size_t>(size, 1), size >= kMappedSize ? PageSize() : kHeapStep);
}

// Address space without memory behind it, aligned for the use that a mapping of that size will make
// of huge pages. Null on failure.
void* ReserveAddresses(size_t capacity, int protection) {
  const size_t slack = capacity >= kHugePageSize ? kHugePageSize : 0;
  void* const mapping =
      mmap(nullptr, capacity + slack, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) return nullptr;
  if (slack == 0) return mapping;
  auto* const start = static_cast<std::byte*>(mapping);
  const size_t misplaced = reinterpret_cast<std::uintptr_t>(start) % kHugePageSize;
  const size_t lead = misplaced == 0 ? 0 : kHugePageSize - misplaced;
  if (lead > 0) munmap(start, lead);
  if (lead < slack) munmap(start + lead + capacity, slack - lead);
  return start + lead;
}

void PreferHugePages(void* address, size_t capacity) {
  if (capacity >= kHugePageSize) madvise(address, capacity, MADV_HUGEPAGE);
}

void* Map(size_t capacity) {
  void* const address = ReserveAddresses(capacity, PROT_READ | PROT_WRITE);
  if (address != nullptr) PreferHugePages(address, capacity);
  return address;
}

}  // namespace

MemoryRegion::~MemoryRegion() {
  if (mapped_) {
    munmap(address_, capacity_);
  } else {
    std::free(address_);
  }
}

void MemoryRegion::Adopt(void* address, size_t capacity, bool mapped) noexcept {
  address_ = address;
  capacity_ = capacity;
  mapped_ = mapped;
}

bool MemoryRegion::Allocate(size_t size, bool zero_fill) noexcept {
  if (size > kMaxSize) return false;
  const size_t capacity = RoundForStorage(size);
  const bool mapped = size >= kMappedSize;
  void* const address = mapped      ? Map(capacity)
                        : zero_fill ? std::calloc(capacity, 1)
                                    : std::malloc(capacity);
  if (address == nullptr) return false;
  Adopt(address, capacity, mapped);
  size_ = size;
  used_ = mapped || zero_fill ? size : capacity;
  return true;
}

bool MemoryRegion::Resize(size_t size, bool zero_fill, bool may_move) noexcept {
  if (size > kMaxSize) return false;
  if (size > capacity_ && !Grow(size, may_move)) return false;
  if (zero_fill && size > size_ && used_ > size_) {
    std::memset(static_cast<std::byte*>(address_) + size_, 0, std::min(size, used_) - size_);
  }
  used_ = std::max(used_, size);
  if (size < size_) Trim(size);
  size_ = size;
  return true;
}

// Half as much again is asked for first, exactly what is needed when that is not to be had.
bool MemoryRegion::Grow(size_t size, bool may_move) noexcept {
  const size_t generous = RoundForStorage(std::max(size, capacity_ + capacity_ / 2));
  for (const size_t capacity : {generous, RoundForStorage(size)}) {
    if (mapped_) {
      if (GrowMapping(capacity, may_move)) return true;
    } else if (!may_move) {
      return false;
    } else if (capacity >= kMappedSize) {
      if (MoveToMapping(RoundUp(capacity, PageSize()))) return true;
    } else if (void* const moved = std::realloc(address_, capacity); moved != nullptr) {
      Adopt(moved, capacity, false);
      used_ = capacity;
      return true;
    }
  }
  return false;
}

bool MemoryRegion::GrowMapping(size_t capacity, bool may_move) noexcept {
  void* grown = mremap(address_, capacity_, capacity, 0);
  if (grown == MAP_FAILED) {
    if (!may_move) return false;
    void* const target = ReserveAddresses(capacity, PROT_NONE);
    if (target == nullptr) return false;
    grown = mremap(address_, capacity_, capacity, MREMAP_MAYMOVE | MREMAP_FIXED, target);
    if (grown == MAP_FAILED) {
      munmap(target, capacity);
      return false;
    }
  }
  Adopt(grown, capacity, true);
  PreferHugePages(grown, capacity);
  return true;
}

bool MemoryRegion::MoveToMapping(size_t capacity) noexcept {
  void* const address = Map(capacity);
  if (address == nullptr) return false;
  if (size_ > 0) std::memcpy(address, address_, size_);
  std::free(address_);
  Adopt(address, capacity, true);
  used_ = size_;
  return true;
}

// Gives memory back when a mapping is less than half in use.
void MemoryRegion::Trim(size_t size) noexcept {
  if (!mapped_) return;
  const size_t needed = RoundUp(std::max<size_t>(size, 1), PageSize());
  if (needed > capacity_ / 2) return;
  if (munmap(static_cast<std::byte*>(address_) + needed, capacity_ - needed) != 0) return;
  capacity_ = needed;
  used_ = std::min(used_, capacity_);
}

}  // namespace platform
