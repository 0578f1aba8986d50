#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "platform/kernel32.h"

namespace {

TEST(ThreadLocalSlots, ValuesArePerThreadAndStartEmpty) {
  const DWORD index = TlsAlloc();
  ASSERT_NE(index, TLS_OUT_OF_INDEXES);
  int mine = 0;
  int theirs = 0;
  EXPECT_TRUE(TlsSetValue(index, &mine));
  std::thread([&] {
    SetLastError(ERROR_GEN_FAILURE);
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_TRUE(TlsSetValue(index, &theirs));
    EXPECT_EQ(TlsGetValue(index), &theirs);
  }).join();
  EXPECT_EQ(TlsGetValue(index), &mine);
  EXPECT_TRUE(TlsFree(index));
}

TEST(ThreadLocalSlots, FreedIndexIsEmptyWhenUsedAgain) {
  std::set<DWORD> indexes;
  int value = 0;
  for (int count = 0; count < 64; ++count) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    EXPECT_TRUE(indexes.insert(index).second);
    EXPECT_TRUE(TlsSetValue(index, &value));
  }
  for (const DWORD index : indexes) EXPECT_TRUE(TlsFree(index));
  EXPECT_FALSE(TlsFree(*indexes.begin()));
  EXPECT_FALSE(TlsSetValue(*indexes.begin(), &value));
  EXPECT_EQ(TlsGetValue(*indexes.begin()), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  const DWORD again = TlsAlloc();
  EXPECT_EQ(TlsGetValue(again), nullptr);
  EXPECT_TRUE(TlsFree(again));
}

TEST(ThreadLocalSlots, RunningOutIsReported) {
  std::set<DWORD> indexes;
  DWORD index = 0;
  while ((index = TlsAlloc()) != TLS_OUT_OF_INDEXES && indexes.size() < 5000) indexes.insert(index);
  EXPECT_EQ(index, TLS_OUT_OF_INDEXES);
  EXPECT_FALSE(TlsSetValue(TLS_OUT_OF_INDEXES, nullptr));
  for (const DWORD used : indexes) EXPECT_TRUE(TlsFree(used));
}

TEST(CriticalSections, AreRecursiveAndExclusive) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  EnterCriticalSection(&section);
  EXPECT_TRUE(TryEnterCriticalSection(&section));
  LeaveCriticalSection(&section);
  std::thread([&] { EXPECT_FALSE(TryEnterCriticalSection(&section)); }).join();
  LeaveCriticalSection(&section);
  std::thread([&] {
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
  }).join();
  DeleteCriticalSection(&section);
}

}  // namespace
