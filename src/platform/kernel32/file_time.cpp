#include "platform/file_time.h"

#include <ctime>

#include "platform/kernel32.h"

BOOL WINAPI FileTimeToSystemTime(const FILETIME* file_time, LPSYSTEMTIME system_time) noexcept {
  constexpr ULONGLONG kUnitsPerMillisecond = 10000;
  constexpr ULONGLONG kMillisecondsPerSecond = 1000;
  constexpr time_t kSecondsFrom1601To1970 = 11644473600;
  constexpr ULONGLONG kTopBit = 1ULL << 63;
  constexpr int kTmYearBase = 1900;

  const ULONGLONG units =
      static_cast<ULONGLONG>(file_time->dwHighDateTime) << 32 | file_time->dwLowDateTime;
  if ((units & kTopBit) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const ULONGLONG milliseconds = units / kUnitsPerMillisecond;
  const time_t seconds =
      static_cast<time_t>(milliseconds / kMillisecondsPerSecond) - kSecondsFrom1601To1970;
  tm parts{};
  gmtime_r(&seconds, &parts);
  *system_time = {static_cast<WORD>(parts.tm_year + kTmYearBase),
                  static_cast<WORD>(parts.tm_mon + 1),
                  static_cast<WORD>(parts.tm_wday),
                  static_cast<WORD>(parts.tm_mday),
                  static_cast<WORD>(parts.tm_hour),
                  static_cast<WORD>(parts.tm_min),
                  static_cast<WORD>(parts.tm_sec),
                  static_cast<WORD>(milliseconds % kMillisecondsPerSecond)};
  return TRUE;
}
