// Clocks, calendar and sleep.
#include <sched.h>
#include <time.h>

#include <algorithm>
#include <thread>

#include "kernel32/thread_object.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace {

constexpr int kFirstYear = 1900;  // of struct tm
constexpr long kNanosecondsPerMillisecond = 1000000;

using Breakdown = tm* (*)(const time_t*, tm*);

void FillTime(LPSYSTEMTIME time, Breakdown break_down) {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts = {};
  break_down(&now.tv_sec, &parts);
  time->wYear = static_cast<WORD>(parts.tm_year + kFirstYear);
  time->wMonth = static_cast<WORD>(parts.tm_mon + 1);
  time->wDayOfWeek = static_cast<WORD>(parts.tm_wday);
  time->wDay = static_cast<WORD>(parts.tm_mday);
  time->wHour = static_cast<WORD>(parts.tm_hour);
  time->wMinute = static_cast<WORD>(parts.tm_min);
  time->wSecond = static_cast<WORD>(parts.tm_sec);
  time->wMilliseconds = static_cast<WORD>(now.tv_nsec / kNanosecondsPerMillisecond);
}

}  // namespace

DWORD WINAPI GetTickCount(void) noexcept {
  const auto since_start = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<DWORD>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since_start).count());
}

void WINAPI Sleep(DWORD dwMilliseconds) noexcept {
  using Clock = std::chrono::steady_clock;
  platform::Checkpoint();
  if (dwMilliseconds == 0) {
    sched_yield();
    return;
  }
  const auto end = dwMilliseconds == INFINITE
                       ? Clock::time_point::max()
                       : Clock::now() + std::chrono::milliseconds(dwMilliseconds);
  for (auto now = Clock::now(); now < end; now = Clock::now()) {
    std::this_thread::sleep_for(
        std::min<Clock::duration>(platform::kCheckpointInterval, end - now));
    platform::Checkpoint();
  }
}

void WINAPI GetLocalTime(LPSYSTEMTIME time) noexcept { FillTime(time, localtime_r); }

void WINAPI GetSystemTime(LPSYSTEMTIME time) noexcept { FillTime(time, gmtime_r); }
