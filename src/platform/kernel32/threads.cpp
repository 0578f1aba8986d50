// Threads: start, suspend, resume, terminate, and their ids.
#include <limits.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "kernel32/errno_map.h"
#include "kernel32/handles.h"
#include "kernel32/thread_object.h"
#include "platform/checkpoint.h"

namespace platform {
namespace {

std::atomic<DWORD> last_thread_id{0};
thread_local DWORD current_thread_id = 0;
thread_local ThreadObject* current_thread = nullptr;

struct StartRecord {
  std::shared_ptr<ThreadObject> thread;
  LPTHREAD_START_ROUTINE start;
  LPVOID parameter;
  DWORD id;
};

// Reports the end of the thread when its thread-local objects are destroyed. As the first of them
// it is the last to go, so that nothing of the thread runs any more when a wait for it is over.
class EndReporter {
 public:
  EndReporter() = default;
  EndReporter(const EndReporter&) = delete;
  EndReporter& operator=(const EndReporter&) = delete;
  ~EndReporter() {
    if (thread_) thread_->Finish();
  }
  void Report(std::shared_ptr<ThreadObject> thread) { thread_ = std::move(thread); }

 private:
  std::shared_ptr<ThreadObject> thread_;
};

thread_local EndReporter end_reporter;

void* RunThread(void* argument) {
  StartRecord record = [argument] {
    const std::unique_ptr<StartRecord> owned(static_cast<StartRecord*>(argument));
    return *owned;
  }();
  ThreadObject& thread = *record.thread;
  end_reporter.Report(std::move(record.thread));
  SetCurrentThreadId(record.id);
  SetCurrentThreadObject(&thread);
  Checkpoint();  // created suspended
  thread.SetResult(record.start(record.parameter));
  SetCurrentThreadObject(nullptr);  // past the last checkpoint: what follows is clean-up
  return nullptr;
}

// 0, or a value of errno.
int StartDetached(SIZE_T stack_size, StartRecord* record) {
  pthread_attr_t attributes;
  if (const int error = pthread_attr_init(&attributes); error != 0) return error;
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  if (stack_size != 0) {
    const auto page = static_cast<SIZE_T>(sysconf(_SC_PAGESIZE));
    const SIZE_T wanted = std::max<SIZE_T>(stack_size, static_cast<SIZE_T>(PTHREAD_STACK_MIN));
    pthread_attr_setstacksize(&attributes, (wanted + page - 1) / page * page);
  }
  pthread_t id;
  const int error = pthread_create(&id, &attributes, RunThread, record);
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace

ThreadObject* CurrentThreadObject() noexcept { return current_thread; }

void SetCurrentThreadObject(ThreadObject* thread) noexcept { current_thread = thread; }

DWORD NewThreadId() noexcept { return ++last_thread_id; }

void SetCurrentThreadId(DWORD id) noexcept { current_thread_id = id; }

}  // namespace platform

using platform::ThreadObject;

DWORD WINAPI GetCurrentProcessId(void) noexcept { return static_cast<DWORD>(getpid()); }

DWORD WINAPI GetCurrentThreadId(void) noexcept {
  if (platform::current_thread_id == 0) platform::current_thread_id = platform::NewThreadId();
  return platform::current_thread_id;
}

HANDLE WINAPI CreateThread(LPVOID, SIZE_T stack_size, LPTHREAD_START_ROUTINE start,
                           LPVOID parameter, DWORD flags, LPDWORD thread_id) noexcept {
  if (start == nullptr || (flags & ~CREATE_SUSPENDED) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const DWORD suspend_count = (flags & CREATE_SUSPENDED) != 0 ? 1 : 0;
  try {
    auto thread = std::make_shared<ThreadObject>(suspend_count);
    auto record = std::make_unique<platform::StartRecord>(
        platform::StartRecord{thread, start, parameter, platform::NewThreadId()});
    // Everything is in place before the thread runs: it may end before pthread_create returns.
    if (thread_id != nullptr) *thread_id = record->id;
    const HANDLE handle = platform::OpenHandle(std::move(thread));
    if (platform::StartDetached(stack_size, record.get()) == 0) {
      static_cast<void>(record.release());  // the thread's now
      return handle;
    }
    CloseHandle(handle);
  } catch (const std::bad_alloc&) {
    // Reported below, as the platform does.
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return nullptr;
}

DWORD WINAPI SuspendThread(HANDLE thread) noexcept {
  DWORD previous = ThreadObject::kFailed;
  if (const auto object = platform::Find<ThreadObject>(thread)) {
    previous = object->Suspend();
    if (previous == ThreadObject::kFailed) SetLastError(ERROR_ACCESS_DENIED);
  }
  platform::Checkpoint();  // the caller may have suspended itself
  return previous;
}

DWORD WINAPI ResumeThread(HANDLE thread) noexcept {
  const auto object = platform::Find<ThreadObject>(thread);
  return object ? object->Resume() : ThreadObject::kFailed;
}

BOOL WINAPI TerminateThread(HANDLE thread, DWORD exit_code) noexcept {
  {
    const auto object = platform::Find<ThreadObject>(thread);
    if (!object) return FALSE;
    object->Terminate(exit_code);
  }
  platform::Checkpoint();  // the caller may have terminated itself
  return TRUE;
}

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exit_code) noexcept {
  const auto object = platform::Find<ThreadObject>(thread);
  if (!object) return FALSE;
  if (exit_code == nullptr) return platform::Fail(ERROR_INVALID_PARAMETER);
  *exit_code = object->ExitCode();
  return TRUE;
}
