#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "platform/kernel32.h"

namespace {

constexpr SIZE_T kStep = SIZE_T{16} * 1024;

bool IsZero(const BYTE* bytes, SIZE_T from, SIZE_T to) {
  return std::all_of(bytes + from, bytes + to, [](BYTE byte) { return byte == 0; });
}

BYTE PatternAt(SIZE_T offset) { return static_cast<BYTE>(offset * 31 / 7 + 1); }

void FillPattern(BYTE* bytes, SIZE_T from, SIZE_T to) {
  for (SIZE_T offset = from; offset < to; ++offset) bytes[offset] = PatternAt(offset);
}

bool HasPattern(const BYTE* bytes, SIZE_T size) {
  for (SIZE_T offset = 0; offset < size; ++offset) {
    if (bytes[offset] != PatternAt(offset)) return false;
  }
  return true;
}

// Across the border from the heap to mapped pages and that to huge pages.
TEST(GlobalMemory, KeepsContentsAndAddsZerosInSteps) {
  HGLOBAL block = GlobalAlloc(GHND, kStep);
  ASSERT_NE(block, nullptr);
  SIZE_T size = kStep;
  for (; size < SIZE_T{5} << 20; size += kStep) {
    auto* bytes = static_cast<BYTE*>(GlobalLock(block));
    ASSERT_NE(bytes, nullptr);
    ASSERT_TRUE(IsZero(bytes, size - kStep, size)) << size;
    FillPattern(bytes, size - kStep, size);
    GlobalUnlock(block);
    ASSERT_EQ(GlobalReAlloc(block, size + kStep, GHND), block);
    ASSERT_EQ(GlobalSize(block), size + kStep);
  }
  EXPECT_TRUE(HasPattern(static_cast<BYTE*>(GlobalLock(block)), size - kStep));
  EXPECT_EQ(GlobalFree(block), nullptr);
}

TEST(GlobalMemory, AddsZerosWhereAnEarlierUseLeftData) {
  for (const SIZE_T size : {SIZE_T{100}, SIZE_T{5000}, SIZE_T{130} << 10, SIZE_T{3} << 20}) {
    for (const SIZE_T rest : {SIZE_T{0}, SIZE_T{1}, size / 3, size - 1}) {
      HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
      ASSERT_NE(block, nullptr);
      std::memset(GlobalLock(block), 0xFF, size);
      GlobalUnlock(block);
      ASSERT_EQ(GlobalReAlloc(block, rest, GMEM_MOVEABLE), block);
      EXPECT_EQ(GlobalSize(block), rest);
      ASSERT_EQ(GlobalReAlloc(block, 2 * size, GHND), block);
      const auto* bytes = static_cast<const BYTE*>(GlobalLock(block));
      EXPECT_TRUE(std::all_of(bytes, bytes + rest, [](BYTE byte) { return byte == 0xFF; }));
      EXPECT_TRUE(IsZero(bytes, rest, 2 * size)) << size << " " << rest;
      EXPECT_EQ(GlobalFree(block), nullptr);
    }
  }
}

TEST(GlobalMemory, LockedBlockKeepsItsAddress) {
  for (const SIZE_T size : {SIZE_T{100}, SIZE_T{200} << 10}) {
    HGLOBAL block = GlobalAlloc(GHND, size);
    LPVOID address = GlobalLock(block);
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(GlobalLock(block), address);
    // In place or not at all.
    const bool grown = GlobalReAlloc(block, SIZE_T{512} << 20, GMEM_ZEROINIT) == block;
    if (!grown) {
      EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    }
    EXPECT_EQ(GlobalSize(block), grown ? SIZE_T{512} << 20 : size);
    EXPECT_EQ(GlobalReAlloc(block, size / 2, GMEM_ZEROINIT), block);
    EXPECT_EQ(GlobalLock(block), address);
    EXPECT_EQ(GlobalReAlloc(block, size * 100, GHND), block);  // told that it may move
    EXPECT_TRUE(GlobalUnlock(block));
    EXPECT_TRUE(GlobalUnlock(block));
    SetLastError(ERROR_GEN_FAILURE);
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_FALSE(GlobalUnlock(block));
    EXPECT_EQ(GetLastError(), ERROR_NOT_LOCKED);
    EXPECT_EQ(GlobalFree(block), nullptr);
  }
}

TEST(GlobalMemory, FixedBlockIsItsAddress) {
  HGLOBAL block = GlobalAlloc(GPTR, 50);
  ASSERT_NE(block, nullptr);
  auto* bytes = static_cast<BYTE*>(block);
  EXPECT_TRUE(IsZero(bytes, 0, 50));
  FillPattern(bytes, 0, 50);
  EXPECT_EQ(GlobalLock(block), block);
  EXPECT_EQ(GlobalReAlloc(block, SIZE_T{1} << 20, GMEM_ZEROINIT), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(GlobalSize(block), 50u);
  HGLOBAL moved = GlobalReAlloc(block, SIZE_T{1} << 20, GHND);
  ASSERT_NE(moved, nullptr);
  EXPECT_TRUE(HasPattern(static_cast<BYTE*>(moved), 50));
  EXPECT_EQ(GlobalSize(moved), SIZE_T{1} << 20);
  EXPECT_EQ(GlobalFree(moved), nullptr);
}

TEST(GlobalMemory, RefusesStaleAndForeignHandles) {
  HGLOBAL freed = GlobalAlloc(GHND, 10);
  ASSERT_EQ(GlobalFree(freed), nullptr);
  int local = 0;
  for (HGLOBAL handle : {freed, HGLOBAL{&local}, HGLOBAL{nullptr}, INVALID_HANDLE_VALUE}) {
    SetLastError(0);
    EXPECT_EQ(GlobalLock(handle), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(GlobalUnlock(handle));
    EXPECT_EQ(GlobalSize(handle), 0u);
    EXPECT_EQ(GlobalReAlloc(handle, 20, GHND), nullptr);
    SetLastError(0);
    EXPECT_EQ(GlobalFree(handle), handle);
    EXPECT_EQ(GetLastError(), handle != nullptr ? ERROR_INVALID_HANDLE : 0);
  }
}

TEST(GlobalMemory, SizesAtTheEnds) {
  HGLOBAL empty = GlobalAlloc(GHND, 0);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(GlobalSize(empty), 0u);
  EXPECT_NE(GlobalLock(empty), nullptr);
  GlobalUnlock(empty);
  for (const SIZE_T size : {std::numeric_limits<SIZE_T>::max(),
                            std::numeric_limits<SIZE_T>::max() - 4096, SIZE_T{1} << 62}) {
    SetLastError(0);
    EXPECT_EQ(GlobalAlloc(GHND, size), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    SetLastError(0);
    EXPECT_EQ(GlobalReAlloc(empty, size, GHND), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
  }
  EXPECT_EQ(GlobalFree(empty), nullptr);
}

TEST(GlobalMemory, ThreadsWorkOnTheirOwnBlocks) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int round = 0; round < 200; ++round) {
        HGLOBAL block = GlobalAlloc(round % 2 == 0 ? GHND : GPTR, 100);
        auto* bytes = static_cast<BYTE*>(GlobalLock(block));
        FillPattern(bytes, 0, 100);
        GlobalUnlock(block);
        block = GlobalReAlloc(block, SIZE_T{1000} * static_cast<SIZE_T>(round), GHND);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(HasPattern(static_cast<BYTE*>(GlobalLock(block)), round == 0 ? 0 : 100));
        EXPECT_EQ(GlobalFree(block), nullptr);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(LocalMemory, GivesZeroedBlocks) {
  auto* bytes = static_cast<BYTE*>(LocalAlloc(LPTR, 100));
  ASSERT_NE(bytes, nullptr);
  EXPECT_TRUE(IsZero(bytes, 0, 100));
  EXPECT_EQ(LocalFree(bytes), nullptr);
  EXPECT_EQ(LocalFree(nullptr), nullptr);
}

}  // namespace
