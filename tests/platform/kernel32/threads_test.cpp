#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace {

constexpr DWORD kLongWait = 20000;  // milliseconds; far more than anything here takes
constexpr DWORD kShortWait = 60;    // long enough for a thread that wrongly runs to show itself
constexpr DWORD kFailed = 0xFFFFFFFFu;

// A thread that counts until it is told to stop.
struct Counter {
  std::atomic<bool> stop{false};
  std::atomic<DWORD> count{0};

  static DWORD WINAPI Run(LPVOID parameter) {
    auto& counter = *static_cast<Counter*>(parameter);
    while (!counter.stop) {
      ++counter.count;
      Sleep(1);
    }
    return 7;
  }

  // Whether the count moves on, within a bound.
  bool Advances() const {
    const DWORD before = count;
    for (int tries = 0; tries < 2000; ++tries) {
      if (count > before + 1) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

  // Waits until the thread has come to a halt: no step for a while.
  bool ComesToAHalt() const {
    for (int tries = 0; tries < 200; ++tries) {
      const DWORD before = count;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      if (count == before) return true;
    }
    return false;
  }
};

DWORD ExitCode(HANDLE thread) {
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeThread(thread, &code));
  return code;
}

TEST(Threads, SuspendedThreadStartsWithTheLastResume) {
  Counter counter;
  DWORD id = 0;
  HANDLE thread = CreateThread(nullptr, 0x80000, Counter::Run, &counter, CREATE_SUSPENDED, &id);
  ASSERT_NE(thread, nullptr);
  EXPECT_NE(id, 0u);
  EXPECT_NE(id, GetCurrentThreadId());
  EXPECT_EQ(SuspendThread(thread), 1u);
  EXPECT_EQ(ResumeThread(thread), 2u);
  EXPECT_EQ(WaitForSingleObject(thread, kShortWait), WAIT_TIMEOUT);
  EXPECT_EQ(counter.count, 0u);
  EXPECT_EQ(ResumeThread(thread), 1u);
  EXPECT_EQ(ResumeThread(thread), 0u);
  EXPECT_TRUE(counter.Advances());
  EXPECT_EQ(ExitCode(thread), STILL_ACTIVE);
  counter.stop = true;
  EXPECT_EQ(WaitForSingleObject(thread, kLongWait), WAIT_OBJECT_0);
  EXPECT_EQ(ExitCode(thread), 7u);
  EXPECT_EQ(SuspendThread(thread), kFailed);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(CloseHandle(thread));
}

TEST(Threads, RunningThreadStopsAndGoesOn) {
  Counter counter;
  HANDLE thread = CreateThread(nullptr, 0, Counter::Run, &counter, 0, nullptr);
  ASSERT_NE(thread, nullptr);
  EXPECT_TRUE(counter.Advances());
  EXPECT_EQ(SuspendThread(thread), 0u);
  EXPECT_TRUE(counter.ComesToAHalt());
  EXPECT_EQ(ResumeThread(thread), 1u);
  EXPECT_TRUE(counter.Advances());
  counter.stop = true;
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(CloseHandle(thread));
}

// Ends while it sleeps, waits, is suspended or has not started; what comes behind never runs.
TEST(Threads, TerminateEndsAThreadWhereverItBlocks) {
  static std::atomic<int> entered;
  static std::atomic<int> passed;
  static HANDLE other;
  entered = 0;
  passed = 0;
  Counter endless;
  other = CreateThread(nullptr, 0, Counter::Run, &endless, 0, nullptr);
  ASSERT_NE(other, nullptr);
  const LPTHREAD_START_ROUTINE sleeper = [](LPVOID) -> DWORD {
    const std::vector<int> held(100);  // its destructor does not run
    ++entered;
    Sleep(INFINITE);
    ++passed;
    return static_cast<DWORD>(held.size());
  };
  const LPTHREAD_START_ROUTINE waiter = [](LPVOID) -> DWORD {
    ++entered;
    WaitForSingleObject(other, INFINITE);
    ++passed;
    return 0;
  };
  const LPTHREAD_START_ROUTINE self_terminator = [](LPVOID parameter) -> DWORD {
    ++entered;
    TerminateThread(*static_cast<HANDLE*>(parameter), 0xDEADBEEF);
    ++passed;
    return 0;
  };
  HANDLE threads[5] = {};
  threads[0] = CreateThread(nullptr, 0, sleeper, nullptr, 0, nullptr);
  threads[1] = CreateThread(nullptr, 0, waiter, nullptr, 0, nullptr);
  threads[2] = CreateThread(nullptr, 0, sleeper, nullptr, 0, nullptr);
  threads[3] = CreateThread(nullptr, 0, sleeper, nullptr, CREATE_SUSPENDED, nullptr);
  threads[4] = CreateThread(nullptr, 0, self_terminator, &threads[4], CREATE_SUSPENDED, nullptr);
  for (HANDLE thread : threads) ASSERT_NE(thread, nullptr);
  ResumeThread(threads[4]);
  EXPECT_EQ(SuspendThread(threads[2]), 0u);
  for (int index : {0, 1, 2, 3}) EXPECT_TRUE(TerminateThread(threads[index], 0xDEADBEEF));
  EXPECT_EQ(WaitForMultipleObjects(5, threads, TRUE, kLongWait), WAIT_OBJECT_0);
  for (HANDLE thread : threads) {
    EXPECT_EQ(ExitCode(thread), 0xDEADBEEF);
    EXPECT_TRUE(TerminateThread(thread, 1));  // too late: the code stays
    EXPECT_EQ(ExitCode(thread), 0xDEADBEEF);
    EXPECT_TRUE(CloseHandle(thread));
  }
  EXPECT_EQ(passed, 0);
  endless.stop = true;
  EXPECT_EQ(WaitForSingleObject(other, kLongWait), WAIT_OBJECT_0);
  EXPECT_TRUE(CloseHandle(other));
}

TEST(Threads, WaitsForAnyAndForAll) {
  Counter counters[3];
  HANDLE threads[3];
  for (int index = 0; index < 3; ++index) {
    threads[index] = CreateThread(nullptr, 0, Counter::Run, &counters[index], 0, nullptr);
    ASSERT_NE(threads[index], nullptr);
  }
  EXPECT_EQ(WaitForMultipleObjects(3, threads, FALSE, 0), WAIT_TIMEOUT);
  counters[1].stop = true;
  EXPECT_EQ(WaitForMultipleObjects(3, threads, FALSE, kLongWait), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitForMultipleObjects(3, threads, TRUE, kShortWait), WAIT_TIMEOUT);
  counters[0].stop = counters[2].stop = true;
  EXPECT_EQ(WaitForMultipleObjects(3, threads, TRUE, kLongWait), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(3, threads, FALSE, 0), WAIT_OBJECT_0);
  for (HANDLE thread : threads) EXPECT_TRUE(CloseHandle(thread));
}

TEST(Threads, ThreadRunsOnWithoutItsHandle) {
  static Counter counter;  // outlives the thread, whose end cannot be waited for
  counter.stop = false;
  HANDLE thread = CreateThread(nullptr, 0, Counter::Run, &counter, 0, nullptr);
  ASSERT_NE(thread, nullptr);
  EXPECT_TRUE(CloseHandle(thread));
  EXPECT_TRUE(counter.Advances());
  counter.stop = true;
}

std::atomic<bool> local_gone{false};

struct Local {
  Local() = default;
  Local(const Local&) = delete;
  Local& operator=(const Local&) = delete;
  ~Local() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    local_gone = true;
  }
  bool used = false;
};

thread_local Local local;

TEST(Threads, ThreadLocalObjectsAreGoneWhenTheWaitIsOver) {
  const LPTHREAD_START_ROUTINE user = [](LPVOID) -> DWORD {
    local.used = true;
    return 0;
  };
  HANDLE thread = CreateThread(nullptr, 0, user, nullptr, 0, nullptr);
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(WaitForSingleObject(thread, kLongWait), WAIT_OBJECT_0);
  EXPECT_TRUE(local_gone);
  EXPECT_TRUE(CloseHandle(thread));
}

TEST(Threads, RefusesWhatIsNoThread) {
  HANDLE file = CreateFileW(u"/dev/null", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  HANDLE closed = CreateThread(
      nullptr, 0, [](LPVOID) -> DWORD { return 0; }, nullptr, 0, nullptr);
  ASSERT_TRUE(CloseHandle(closed));
  for (HANDLE handle : {file, closed, HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
    DWORD code = 0;
    SetLastError(0);
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(SuspendThread(handle), kFailed);
    EXPECT_EQ(ResumeThread(handle), kFailed);
    EXPECT_FALSE(TerminateThread(handle, 0));
    SetLastError(0);
    EXPECT_FALSE(GetExitCodeThread(handle, &code));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  }
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_FALSE(CloseHandle(file));
  EXPECT_EQ(WaitForMultipleObjects(0, &file, FALSE, 0), WAIT_FAILED);
  EXPECT_EQ(CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(Threads, CheckpointLetsOtherThreadsPass) {
  std::thread foreign([] {
    EXPECT_NE(GetCurrentThreadId(), 0u);
    EXPECT_EQ(GetCurrentThreadId(), GetCurrentThreadId());
    platform::Checkpoint();
    SetLastError(5);
  });
  SetLastError(9);
  foreign.join();
  EXPECT_EQ(GetLastError(), 9u);  // one per thread
}

}  // namespace
