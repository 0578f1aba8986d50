#include "frame/error_slot.h"

#include <atomic>
#include <cstdint>

#include "frame/library.h"

namespace qv {
namespace {

constexpr DWORD kLargestPlatformNumber = 0xFFFF;

// Read only while there is no thread-local slot; then the last writer of any thread wins.
std::atomic<DWORD> process_error{0};

}  // namespace

Error LastError() {
  const DWORD slot = library::ErrorSlotIndex();
  if (slot == TLS_OUT_OF_INDEXES) return Error(process_error.load());
  return Error(static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(TlsGetValue(slot))));
}

void SetLastError(Error error) {
  DWORD code = error.code();
  if (code != 0 && code <= kLargestPlatformNumber) code |= kErrorBase;
  const DWORD slot = library::ErrorSlotIndex();
  if (slot != TLS_OUT_OF_INDEXES) {
    TlsSetValue(slot, reinterpret_cast<LPVOID>(static_cast<std::uintptr_t>(code)));
  }
  process_error.store(code);
  ::SetLastError(code);
}

}  // namespace qv
