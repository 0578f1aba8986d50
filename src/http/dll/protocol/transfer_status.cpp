#include "protocol/transfer_status.h"

#include <algorithm>
#include <limits>

#include "protocol/transfer_counters.h"

namespace qv {
namespace {

constexpr DWORD kMillisecondsPerSecond = 1000;
constexpr DWORD kUnknownEstimateMs = 10000;
constexpr uint64_t kLargest32 = std::numeric_limits<DWORD>::max();

// A server may announce any length.
uint64_t Sum(uint64_t length, uint64_t offset) {
  return length > std::numeric_limits<uint64_t>::max() - offset
             ? std::numeric_limits<uint64_t>::max()
             : length + offset;
}

DWORD Clamp(uint64_t value) { return static_cast<DWORD>(std::min(value, kLargest32)); }

}  // namespace

HTTPTRANSFERSTATUSEX TransferStatusOf(const TransferCounters& counters, DWORD now, bool hires) {
  HTTPTRANSFERSTATUSEX status{};
  status.dwBytesTotal = Sum(counters.content_length, counters.offset);
  status.dwBytesCopied = Sum(counters.copied, counters.offset);
  status.dwBytesTotal = std::max(status.dwBytesTotal, status.dwBytesCopied);
  const DWORD start = counters.start_tick;
  if (start == 0) return status;
  const DWORD end = counters.end_tick;
  DWORD elapsed = (end != 0 ? end : now) - start;
  DWORD estimated = kUnknownEstimateMs;
  if (elapsed > kMillisecondsPerSecond) {
    const uint64_t rate = status.dwBytesCopied / (elapsed / kMillisecondsPerSecond);
    status.dwBytesPerSecond = Clamp(rate);
    if (rate != 0) {
      const uint64_t left = status.dwBytesTotal - status.dwBytesCopied;
      const double left_ms =
          static_cast<double>(left) * kMillisecondsPerSecond / static_cast<double>(rate);
      estimated = left_ms < static_cast<double>(kLargest32) ? static_cast<DWORD>(left_ms)
                                                            : static_cast<DWORD>(kLargest32);
    }
  }
  if (end != 0) estimated = elapsed;
  if (status.dwBytesPerSecond == 0) {
    status.dwBytesPerSecond = static_cast<DWORD>(status.dwBytesCopied & kLargest32);
  }
  status.dwTimeElapsed = hires ? elapsed : elapsed / kMillisecondsPerSecond;
  status.dwTimeEstimated = hires ? estimated : estimated / kMillisecondsPerSecond;
  return status;
}

HTTPTRANSFERSTATUS NarrowTransferStatus(const HTTPTRANSFERSTATUSEX& status) {
  return {Clamp(status.dwBytesTotal), Clamp(status.dwBytesCopied), status.dwBytesPerSecond,
          status.dwTimeElapsed, status.dwTimeEstimated};
}

}  // namespace qv
