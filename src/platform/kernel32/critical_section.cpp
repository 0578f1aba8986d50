// Critical sections: recursive locks.
#include <memory>
#include <mutex>

#include "platform/kernel32.h"

namespace {

std::recursive_mutex& MutexOf(CRITICAL_SECTION* section) {
  return *static_cast<std::recursive_mutex*>(section->impl);
}

}  // namespace

void WINAPI InitializeCriticalSection(CRITICAL_SECTION* section) noexcept {
  section->impl = std::make_unique<std::recursive_mutex>().release();
}

void WINAPI DeleteCriticalSection(CRITICAL_SECTION* section) noexcept {
  delete static_cast<std::recursive_mutex*>(section->impl);
  section->impl = nullptr;
}

void WINAPI EnterCriticalSection(CRITICAL_SECTION* section) noexcept { MutexOf(section).lock(); }

BOOL WINAPI TryEnterCriticalSection(CRITICAL_SECTION* section) noexcept {
  return MutexOf(section).try_lock() ? TRUE : FALSE;
}

void WINAPI LeaveCriticalSection(CRITICAL_SECTION* section) noexcept { MutexOf(section).unlock(); }
