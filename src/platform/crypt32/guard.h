// The edge between the module's C++ and its callers.
#ifndef PLATFORM_CRYPT32_GUARD_H_
#define PLATFORM_CRYPT32_GUARD_H_

#include <new>
#include <utility>

#include "crypt32/openssl_ptr.h"
#include "platform/kernel32.h"

namespace platform::crypt32 {

// Runs the body of an exported function; lack of memory becomes `failure` and a platform error.
template <typename Result, typename Body>
Result Guarded(Result failure, Body&& body) noexcept {
  const ErrorQueueGuard errors;
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return failure;
  }
}

template <typename Result>
Result Fail(Result failure, DWORD error) noexcept {
  SetLastError(error);
  return failure;
}

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_GUARD_H_
