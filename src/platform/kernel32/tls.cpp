// Thread-local slots: a fixed table per thread. A slot is tagged with the generation of its index,
// so that the values of a freed index are gone for every thread without visiting the threads.
#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>

#include "kernel32/errno_map.h"
#include "platform/kernel32.h"

namespace {

constexpr DWORD kSlotCount = 128;

struct Slot {
  LPVOID value;
  DWORD generation;
};

// An odd generation means that the index is in use.
std::array<std::atomic<DWORD>, kSlotCount> generations;
std::mutex allocation_mutex;
thread_local std::array<Slot, kSlotCount> slots;

bool IsInUse(DWORD generation) { return generation % 2 != 0; }

}  // namespace

DWORD WINAPI TlsAlloc(void) noexcept {
  const std::lock_guard lock(allocation_mutex);
  for (DWORD index = 0; index < kSlotCount; ++index) {
    if (IsInUse(generations[index])) continue;
    ++generations[index];
    return index;
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return TLS_OUT_OF_INDEXES;
}

BOOL WINAPI TlsFree(DWORD index) noexcept {
  const std::lock_guard lock(allocation_mutex);
  if (index >= kSlotCount || !IsInUse(generations[index])) {
    return platform::Fail(ERROR_INVALID_PARAMETER);
  }
  ++generations[index];
  return TRUE;
}

LPVOID WINAPI TlsGetValue(DWORD index) noexcept {
  if (index >= kSlotCount) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const DWORD generation = generations[index].load(std::memory_order_relaxed);
  const Slot& slot = slots[index];
  if (slot.generation == generation && slot.value != nullptr) return slot.value;
  SetLastError(IsInUse(generation) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
  return nullptr;
}

BOOL WINAPI TlsSetValue(DWORD index, LPVOID value) noexcept {
  if (index >= kSlotCount) return platform::Fail(ERROR_INVALID_PARAMETER);
  const DWORD generation = generations[index].load(std::memory_order_relaxed);
  if (!IsInUse(generation)) return platform::Fail(ERROR_INVALID_PARAMETER);
  slots[index] = {value, generation};
  return TRUE;
}
