// The one place where numbers of errno become the platform's error numbers.
#ifndef PLATFORM_KERNEL32_ERRNO_MAP_H_
#define PLATFORM_KERNEL32_ERRNO_MAP_H_

#include "platform/kernel32.h"

namespace platform {

// The platform's number for a value of errno, ERROR_GEN_FAILURE for one it has none for.
DWORD ErrorFromErrno(int error_number) noexcept;

// Sets the last error from a value of errno and returns FALSE, for callers to pass on.
BOOL FailWithErrno(int error_number) noexcept;

// Sets the last error and returns FALSE.
BOOL Fail(DWORD error) noexcept;

}  // namespace platform

#endif  // PLATFORM_KERNEL32_ERRNO_MAP_H_
