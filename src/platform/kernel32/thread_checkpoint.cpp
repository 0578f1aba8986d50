// Where a suspended or terminated thread stops.
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>

#include "kernel32/thread_object.h"
#include "platform/checkpoint.h"

// Present when the leak checker is linked in.
extern "C" __attribute__((weak)) void __lsan_register_root_region(const void* start, size_t size);

namespace platform {
namespace {

std::atomic<void (*)()> end_hook{nullptr};

// What the stack of an ended thread owned stays allocated with it; the leak checker is told so.
void KeepStackAsRoot() {
  if (__lsan_register_root_region == nullptr) return;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
  void* start = nullptr;
  size_t size = 0;
  if (pthread_attr_getstack(&attributes, &start, &size) == 0) {
    __lsan_register_root_region(start, size);
  }
  pthread_attr_destroy(&attributes);
}

// Ends the calling thread on the spot. Unwinding its stack is no choice: the frames above may be
// functions that let no exception out. So nothing is destroyed, and the stack stays allocated: that
// is what termination means on the platform as well.
[[noreturn]] void EndCurrentThread(ThreadObject& thread) {
  if (const auto hook = end_hook.load(); hook != nullptr) hook();
  KeepStackAsRoot();
  thread.Finish();
  for (;;) syscall(SYS_exit, 0);
}

}  // namespace

void SetThreadEndHook(void (*hook)()) noexcept { end_hook = hook; }

void Checkpoint() {
  ThreadObject* const thread = CurrentThreadObject();
  if (thread == nullptr || !thread->NeedsAttention()) return;
  if (thread->WaitWhileSuspended()) EndCurrentThread(*thread);
}

}  // namespace platform
