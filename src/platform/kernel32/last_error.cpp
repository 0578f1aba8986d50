// The last error of each thread.
#include "qvplatform.h"

namespace {
thread_local DWORD last_error = 0;
}  // namespace

DWORD WINAPI GetLastError(void) noexcept { return last_error; }

void WINAPI SetLastError(DWORD dwErrCode) noexcept { last_error = dwErrCode; }
