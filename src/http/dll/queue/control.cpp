#include "queue/control.h"

#include "frame/library.h"
#include "protocol/transfer_counters.h"
#include "queue/queue_table.h"

namespace qv {
namespace {

constexpr DWORD kDeleteWaitMs = 1000;

// The queue that is to be deleted, after its worker was told to stop.
struct Doomed {
  QueueRef queue;
  QueueWorkerRef worker;  // of its last run; NULL when it never ran
  bool stopped = false;   // it had been stopped before
};

Result<Doomed> StopForDeletion(HQUEUE handle) {
  LibraryLock lock;
  Result<QueueRef> queue = QueueTable::Get().Find(handle);
  if (!queue) return queue.error();
  const bool stopped = static_cast<bool>((*queue)->Stop());
  return Doomed{*queue, (*queue)->worker(), stopped};
}

// What a wait starts from.
struct RunState {
  QueueRef queue;
  QueueWorkerRef worker;
  DWORD start_tick = 0;
  DWORD end_tick = 0;
  Error last_error;

  void Read() {
    start_tick = queue->start_tick();
    end_tick = queue->end_tick();
    last_error = queue->last_error();
  }
};

Result<RunState> ReadRun(HQUEUE handle) {
  LibraryLock lock;
  Result<QueueRef> queue = QueueTable::Get().Find(handle);
  if (!queue) return queue.error();
  const DWORD state = (*queue)->state();
  if (state == HTTP_QUEUE_STOPPED) return Error(QV_ERROR_QUEUE_STOPPED);
  RunState run{*queue, (*queue)->worker(), 0, 0, kNoError};
  run.Read();
  if (run.end_tick != 0) return run;
  if (run.worker->thread.IsCaller()) return Error(QV_ERROR_THREAD_DEADLOCK);
  if (state == HTTP_QUEUE_SUSPENDED) return Error(QV_ERROR_QUEUE_PAUSED);
  return run;
}

Error AwaitRun(RunState& run, DWORD timeout) {
  if (!run.worker->thread.Wait(timeout)) {
    return QV_ERROR_OPERATION_TIMEOUT;
  }
  LibraryLock lock;
  const DWORD start_tick = run.start_tick;
  run.Read();
  if (run.end_tick != 0) return kNoError;
  if (run.queue->Abandoned()) return QV_ERROR_INVALID_QUEUE_HANDLE;
  // The last callback has started the queue again; the run that was waited for is over.
  run.start_tick = start_tick;
  run.end_tick = TransferCounters::Now();
  return kNoError;
}

}  // namespace

Error DeleteQueue(HQUEUE handle) {
  Result<Doomed> doomed = StopForDeletion(handle);
  if (!doomed) return doomed.error();
  // A worker cannot wait for itself. Called from its own callback, it deletes a queue that was
  // stopped before and has the worker end behind the file in progress.
  const QueueWorkerRef& worker = doomed->worker;
  const bool own = worker && worker->thread.IsCaller();
  if (worker && !own) worker->thread.Wait(kDeleteWaitMs);
  LibraryLock lock;
  Result<QueueRef> queue = QueueTable::Get().Find(handle);
  if (!queue) return queue.error();
  if (*queue != doomed->queue) return QV_ERROR_INVALID_QUEUE_HANDLE;
  if ((*queue)->HasWorker() && !(own && doomed->stopped)) return QV_ERROR_QUEUE_RUNNING;
  QueueTable::Get().Remove(**queue);
  (*queue)->Abandon();
  return kNoError;
}

Result<QueueWait> WaitForQueue(HQUEUE handle, DWORD timeout) {
  Result<RunState> run = ReadRun(handle);
  if (!run) return run.error();
  QueueWait wait;
  if (run->end_tick == 0 && timeout != 0) wait.error = AwaitRun(*run, timeout);
  wait.ended = run->end_tick != 0;
  wait.elapsed = ElapsedTicks(run->start_tick, run->end_tick);
  wait.last_error = run->last_error;
  return wait;
}

}  // namespace qv
