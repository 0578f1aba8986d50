#include "large_buffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <new>

namespace bench {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

char* Checked(void* mapping, std::size_t size) {
  if (mapping == MAP_FAILED) throw std::bad_alloc();
  madvise(mapping, size, MADV_HUGEPAGE);
  return static_cast<char*>(mapping);
}

}  // namespace

// The system aligns mappings whose size is a multiple of its huge pages.
LargeBuffer::LargeBuffer(std::size_t size)
    : size_((std::max<std::size_t>(size, 1) + kHugePage - 1) / kHugePage * kHugePage) {
  data_ = Checked(mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0),
                  size_);
}

LargeBuffer::~LargeBuffer() { munmap(data_, size_); }

void LargeBuffer::Grow() {
  data_ = Checked(mremap(data_, size_, size_ * 2, MREMAP_MAYMOVE), size_ * 2);
  size_ *= 2;
}

}  // namespace bench
