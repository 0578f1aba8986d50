// A thread as a kernel object: its suspend count, its order to end, and its end.
#ifndef PLATFORM_KERNEL32_THREAD_OBJECT_H_
#define PLATFORM_KERNEL32_THREAD_OBJECT_H_

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "kernel32/handles.h"

namespace platform {

class ThreadObject : public KernelObject {
 public:
  static constexpr ObjectType kType = ObjectType::kThread;
  static constexpr DWORD kFailed = 0xFFFFFFFFu;

  explicit ThreadObject(DWORD suspend_count)
      : KernelObject(kType), suspend_count_(suspend_count), attention_(suspend_count > 0) {}

  // Both give the previous suspend count; a thread that has ended cannot be suspended (kFailed).
  DWORD Suspend();
  DWORD Resume();

  // Orders the thread to end at its next checkpoint. The first order decides the exit code.
  void Terminate(DWORD exit_code);

  // Called on the thread itself: something is asked of it (what the thread that resumed it had
  // written before is seen in either case); true when it is to end.
  bool NeedsAttention() const { return attention_.load(std::memory_order_acquire); }
  bool WaitWhileSuspended();

  // Called on the thread itself when its work is done: the result, and then the end itself, which
  // waiters see. An order to terminate that came in time decides the exit code.
  void SetResult(DWORD exit_code);
  void Finish();

  bool IsFinished() const { return finished_.load(std::memory_order_acquire); }
  DWORD ExitCode();  // STILL_ACTIVE before the end

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  DWORD suspend_count_;
  bool terminated_ = false;
  DWORD exit_code_ = 0;
  std::atomic<bool> attention_;
  std::atomic<bool> finished_{false};
};

// The object of the calling thread, null when CreateThread did not start it.
ThreadObject* CurrentThreadObject() noexcept;
void SetCurrentThreadObject(ThreadObject* thread) noexcept;

// What other modules do when a thread is ended where it is, as its destructors do not run.
void SetThreadEndHook(void (*hook)()) noexcept;

// The id of a thread that is about to start, and how the thread takes it on.
DWORD NewThreadId() noexcept;
void SetCurrentThreadId(DWORD id) noexcept;

// How long a wait may last before it must look at the checkpoint again.
inline constexpr std::chrono::milliseconds kCheckpointInterval{20};

// Blocks until some thread ends, the deadline passes or the checkpoint interval is over. The
// condition is looked at under the lock that every end of a thread takes, so that none is missed.
using WaitClock = std::chrono::steady_clock;
void WaitForThreadEnd(WaitClock::time_point deadline, bool (*condition)(void* context),
                      void* context);

}  // namespace platform

#endif  // PLATFORM_KERNEL32_THREAD_OBJECT_H_
