// Local memory: fixed blocks from the heap.
#include <algorithm>
#include <cstdlib>

#include "platform/kernel32.h"

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes) noexcept {
  if ((flags & ~(LMEM_FIXED | LMEM_ZEROINIT)) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const SIZE_T size = std::max<SIZE_T>(bytes, 1);
  const HLOCAL block = (flags & LMEM_ZEROINIT) != 0 ? std::calloc(size, 1) : std::malloc(size);
  if (block == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return block;
}

HLOCAL WINAPI LocalFree(HLOCAL block) noexcept {
  std::free(block);
  return nullptr;
}
