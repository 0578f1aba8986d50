// Waiting for threads, in slices, so that the waiting thread can itself be suspended or terminated.
#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "kernel32/handles.h"
#include "kernel32/thread_object.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"

namespace {

using platform::ThreadObject;
using platform::WaitClock;

// The threads of one wait and what is waited for.
struct WaitSet {
  std::vector<std::shared_ptr<ThreadObject>> threads;
  bool all = false;

  // The index of the thread that ends the wait (0 when all have ended), or the count of threads.
  size_t Ended() const {
    const auto finished = [](const auto& thread) { return thread->IsFinished(); };
    if (all) {
      return std::all_of(threads.begin(), threads.end(), finished) ? 0 : threads.size();
    }
    return static_cast<size_t>(std::find_if(threads.begin(), threads.end(), finished) -
                               threads.begin());
  }
  bool IsOver() const { return Ended() != threads.size(); }
};

WaitClock::time_point Deadline(DWORD milliseconds) {
  if (milliseconds == INFINITE) return WaitClock::time_point::max();
  return WaitClock::now() + std::chrono::milliseconds(milliseconds);
}

DWORD Wait(const WaitSet& set, DWORD milliseconds) {
  const auto deadline = Deadline(milliseconds);
  for (;;) {
    const size_t ended = set.Ended();
    if (ended != set.threads.size()) return WAIT_OBJECT_0 + static_cast<DWORD>(ended);
    if (WaitClock::now() >= deadline) return WAIT_TIMEOUT;
    platform::WaitForThreadEnd(
        deadline, [](void* context) { return static_cast<const WaitSet*>(context)->IsOver(); },
        const_cast<WaitSet*>(&set));
    platform::Checkpoint();
  }
}

}  // namespace

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) noexcept {
  return WaitForMultipleObjects(1, &handle, FALSE, milliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL wait_all,
                                    DWORD milliseconds) noexcept {
  platform::Checkpoint();
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  try {
    WaitSet set;
    set.all = wait_all != FALSE;
    for (DWORD index = 0; index < count; ++index) {
      auto thread = platform::Find<ThreadObject>(handles[index]);
      if (!thread) return WAIT_FAILED;
      set.threads.push_back(std::move(thread));
    }
    return Wait(set, milliseconds);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return WAIT_FAILED;
  }
}
