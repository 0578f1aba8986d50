// kernel32: times as counts since the year 1601.
#ifndef PLATFORM_FILE_TIME_H_
#define PLATFORM_FILE_TIME_H_

#include "qvplatform.h"

extern "C" {

// Intervals of 100 nanoseconds since 1601-01-01 00:00 UTC.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// Fails with ERROR_INVALID_PARAMETER for counts with the topmost bit set.
QVPLATFORM_API BOOL WINAPI FileTimeToSystemTime(const FILETIME* file_time,
                                                LPSYSTEMTIME system_time) noexcept;

}  // extern "C"

#endif  // PLATFORM_FILE_TIME_H_
