#include "kernel32/thread_object.h"

#include <algorithm>

namespace platform {
namespace {

// All threads signal their end through one condition: ends are rare, and a wait for any of many
// needs no list of waiters.
struct EndSignal {
  std::mutex mutex;
  std::condition_variable ended;
};

// Never destroyed: threads end during the static destruction of others.
EndSignal& Signal() {
  static EndSignal& signal = *new EndSignal;
  return signal;
}

}  // namespace

DWORD ThreadObject::Suspend() {
  const std::lock_guard lock(mutex_);
  if (IsFinished()) return kFailed;
  attention_.store(true, std::memory_order_relaxed);
  return suspend_count_++;
}

DWORD ThreadObject::Resume() {
  const std::lock_guard lock(mutex_);
  if (suspend_count_ == 0) return 0;
  const DWORD previous = suspend_count_--;
  if (suspend_count_ == 0) {
    attention_.store(terminated_, std::memory_order_release);
    changed_.notify_all();
  }
  return previous;
}

void ThreadObject::Terminate(DWORD exit_code) {
  const std::lock_guard lock(mutex_);
  if (terminated_ || IsFinished()) return;
  terminated_ = true;
  exit_code_ = exit_code;
  attention_.store(true, std::memory_order_relaxed);
  changed_.notify_all();
}

bool ThreadObject::WaitWhileSuspended() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return terminated_ || suspend_count_ == 0; });
  return terminated_;
}

void ThreadObject::SetResult(DWORD exit_code) {
  const std::lock_guard lock(mutex_);
  if (terminated_) return;
  terminated_ = true;
  exit_code_ = exit_code;
}

void ThreadObject::Finish() {
  {
    const std::lock_guard lock(Signal().mutex);
    finished_.store(true, std::memory_order_release);
  }
  Signal().ended.notify_all();
}

DWORD ThreadObject::ExitCode() {
  if (!IsFinished()) return STILL_ACTIVE;
  const std::lock_guard lock(mutex_);
  return exit_code_;
}

void WaitForThreadEnd(WaitClock::time_point deadline, bool (*condition)(void* context),
                      void* context) {
  const auto slice_end = std::min(deadline, WaitClock::now() + kCheckpointInterval);
  std::unique_lock lock(Signal().mutex);
  Signal().ended.wait_until(lock, slice_end, [&] { return condition(context); });
}

}  // namespace platform
