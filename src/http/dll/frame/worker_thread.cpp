#include "frame/worker_thread.h"

namespace qv {
namespace {

constexpr DWORD kSuspendFailed = 0xFFFFFFFFu;
constexpr DWORD kTerminatedExitCode = 0xDEADBEEFu;

}  // namespace

WorkerThread::~WorkerThread() {
  if (handle_ != nullptr) CloseHandle(handle_);
}

bool WorkerThread::Create(LPTHREAD_START_ROUTINE routine, LPVOID parameter, SIZE_T stack_size) {
  handle_ = CreateThread(nullptr, stack_size, routine, parameter, CREATE_SUSPENDED, &id_);
  return handle_ != nullptr;
}

void WorkerThread::Start() { ResumeThread(handle_); }

bool WorkerThread::HasEnded() const {
  DWORD code = 0;
  return !GetExitCodeThread(handle_, &code) || code != STILL_ACTIVE;
}

bool WorkerThread::Wait(DWORD timeout_ms) const {
  return WaitForSingleObject(handle_, timeout_ms) == WAIT_OBJECT_0;
}

// No lock may be held here: the caller can be a worker that is being suspended itself, and then
// stays inside SuspendThread.
Error WorkerThread::Suspend() {
  if (suspended_.exchange(true)) return kNoError;
  if (SuspendThread(handle_) != kSuspendFailed) return kNoError;
  suspended_ = false;
  return QV_ERROR_ACCESS_DENIED;
}

Error WorkerThread::Resume() {
  if (!suspended_.exchange(false)) return kNoError;
  // Whoever set the mark may not have come to suspend the thread yet; a resume that came first
  // would be lost.
  while (ResumeThread(handle_) == 0) {
    if (HasEnded()) return QV_ERROR_ACCESS_DENIED;
    Sleep(0);
  }
  return kNoError;
}

void WorkerThread::Terminate() { TerminateThread(handle_, kTerminatedExitCode); }

}  // namespace qv
