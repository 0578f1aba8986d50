// The thread of a task or of a queue, steered by any other thread.
#ifndef QV_FRAME_WORKER_THREAD_H_
#define QV_FRAME_WORKER_THREAD_H_

#include <atomic>

#include "frame/error.h"
#include "platform/kernel32.h"

namespace qv {

class WorkerThread {
 public:
  WorkerThread() = default;
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  // Creates the thread, which runs when Start is called; a stack size (bytes) of 0 is the
  // platform's default. False when the platform has no more.
  bool Create(LPTHREAD_START_ROUTINE routine, LPVOID parameter, SIZE_T stack_size = 0);
  void Start();

  DWORD id() const { return id_; }
  bool IsCaller() const { return id_ == GetCurrentThreadId(); }
  bool HasEnded() const;  // also when it was never created

  // Whether it has ended by then (milliseconds).
  bool Wait(DWORD timeout_ms) const;

  // A thread is suspended once, however often that is asked, and one resume lets it go on. It stops
  // where it would wait or move data. QV_ERROR_ACCESS_DENIED when the thread has ended.
  Error Suspend();
  Error Resume();
  bool suspended() const { return suspended_; }

  // Ends the thread the hard way; what it held stays allocated.
  void Terminate();

 private:
  HANDLE handle_ = nullptr;
  DWORD id_ = 0;
  std::atomic<bool> suspended_{false};
};

}  // namespace qv

#endif  // QV_FRAME_WORKER_THREAD_H_
