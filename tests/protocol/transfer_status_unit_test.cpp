// The arithmetic of transfer progress, at times of the test's choosing.
#include <gtest/gtest.h>

#include <cstddef>

#include "protocol/transfer_counters.h"
#include "protocol/transfer_status.h"

namespace qv {
namespace {

constexpr DWORD kStart = 1'000'000;
constexpr DWORD kNotOver = 0;
constexpr uint64_t kGigabyte = uint64_t{1} << 30;

struct Case {
  const char* name;
  uint64_t length;
  uint64_t copied;
  uint64_t offset;
  DWORD elapsed;  // ms
  bool over;
  uint64_t total;
  uint64_t copied_total;
  DWORD rate;
  DWORD elapsed_ms;
  DWORD estimated_ms;
};

void Fill(TransferCounters& counters, const Case& entry) {
  counters.content_length = entry.length;
  counters.copied = entry.copied;
  counters.offset = entry.offset;
  counters.start_tick = kStart;
  counters.end_tick = entry.over ? kStart + entry.elapsed : kNotOver;
}

TEST(TransferStatusTest, RatesAndEstimates) {
  constexpr Case kCases[] = {
      {"early", 4000, 1000, 0, 500, false, 4000, 1000, 1000, 500, 10000},
      {"at one second", 4000, 1000, 0, 1000, false, 4000, 1000, 1000, 1000, 10000},
      {"later", 4000, 2000, 0, 4000, false, 4000, 2000, 500, 4000, 4000},
      {"whole seconds", 4000, 2000, 0, 4999, false, 4000, 2000, 500, 4999, 4000},
      {"nothing copied", 4000, 0, 0, 5000, false, 4000, 0, 0, 5000, 10000},
      {"slower than a byte a second", 4000, 3, 0, 9000, false, 4000, 3, 3, 9000, 10000},
      {"resumed", 3000, 1000, 1000, 2000, false, 4000, 2000, 1000, 2000, 2000},
      {"unknown length", 0, 5000, 0, 5000, false, 5000, 5000, 1000, 5000, 0},
      {"over", 4000, 4000, 0, 8000, true, 4000, 4000, 500, 8000, 8000},
      {"over at once", 10, 10, 0, 0, true, 10, 10, 10, 0, 0},
      {"large", 6 * kGigabyte, 3 * kGigabyte, 0, 3000, false, 6 * kGigabyte, 3 * kGigabyte,
       static_cast<DWORD>(kGigabyte), 3000, 3000},
  };
  for (const Case& entry : kCases) {
    SCOPED_TRACE(entry.name);
    TransferCounters counters;
    Fill(counters, entry);
    const DWORD now = entry.over ? kStart + 999'999 : kStart + entry.elapsed;
    const HTTPTRANSFERSTATUSEX fine = TransferStatusOf(counters, now, true);
    EXPECT_EQ(fine.dwBytesTotal, entry.total);
    EXPECT_EQ(fine.dwBytesCopied, entry.copied_total);
    EXPECT_EQ(fine.dwBytesPerSecond, entry.rate);
    EXPECT_EQ(fine.dwTimeElapsed, entry.elapsed_ms);
    EXPECT_EQ(fine.dwTimeEstimated, entry.estimated_ms);
    EXPECT_EQ(fine.dwReserved, 0u);
    const HTTPTRANSFERSTATUSEX coarse = TransferStatusOf(counters, now, false);
    EXPECT_EQ(coarse.dwTimeElapsed, entry.elapsed_ms / 1000);
    EXPECT_EQ(coarse.dwTimeEstimated, entry.estimated_ms / 1000);
  }
}

TEST(TransferStatusTest, BeforeATransferThereAreNoTimes) {
  TransferCounters counters;
  counters.content_length = 50;
  const HTTPTRANSFERSTATUSEX status = TransferStatusOf(counters, kStart, true);
  EXPECT_EQ(status.dwBytesTotal, 50u);
  EXPECT_EQ(status.dwBytesPerSecond, 0u);
  EXPECT_EQ(status.dwTimeElapsed, 0u);
  EXPECT_EQ(status.dwTimeEstimated, 0u);
}

TEST(TransferStatusTest, TheTickCountMayWrap) {
  TransferCounters counters;
  counters.content_length = 4000;
  counters.copied = 2000;
  counters.start_tick = 0xFFFFFF00u;
  const HTTPTRANSFERSTATUSEX status = TransferStatusOf(counters, 0xFFFFFF00u + 4000u, true);
  EXPECT_EQ(status.dwTimeElapsed, 4000u);
  EXPECT_EQ(status.dwBytesPerSecond, 500u);
}

TEST(TransferStatusTest, CountsThatDoNotFit32BitsAreMarked) {
  HTTPTRANSFERSTATUSEX wide{};
  wide.dwBytesTotal = 6 * kGigabyte;
  wide.dwBytesCopied = 0xFFFFFFFFu;
  wide.dwBytesPerSecond = 3;
  wide.dwTimeElapsed = 4;
  wide.dwTimeEstimated = 5;
  HTTPTRANSFERSTATUS narrow = NarrowTransferStatus(wide);
  EXPECT_EQ(narrow.dwBytesTotal, 0xFFFFFFFFu);
  EXPECT_EQ(narrow.dwBytesCopied, 0xFFFFFFFFu);
  EXPECT_EQ(narrow.dwBytesPerSecond, 3u);
  EXPECT_EQ(narrow.dwTimeElapsed, 4u);
  EXPECT_EQ(narrow.dwTimeEstimated, 5u);
  wide.dwBytesTotal = wide.dwBytesCopied = 7;
  narrow = NarrowTransferStatus(wide);
  EXPECT_EQ(narrow.dwBytesTotal, 7u);
  EXPECT_EQ(narrow.dwBytesCopied, 7u);
}

TEST(TransferStatusTest, AnnouncedLengthsDoNotWrap) {
  TransferCounters counters;
  counters.content_length = ~uint64_t{0};
  counters.offset = 5;
  const HTTPTRANSFERSTATUSEX status = TransferStatusOf(counters, 0, true);
  EXPECT_EQ(status.dwBytesTotal, ~uint64_t{0});
  EXPECT_EQ(NarrowTransferStatus(status).dwBytesTotal, 0xFFFFFFFFu);
}

TEST(TransferStatusTest, TheRecordsHaveTheirPublishedLayout) {
  static_assert(sizeof(HTTPTRANSFERSTATUS) == 20);
  static_assert(sizeof(HTTPTRANSFERSTATUSEX) == 32);
  static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwBytesCopied) == 8);
  static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwTimeEstimated) == 24);
}

}  // namespace
}  // namespace qv
