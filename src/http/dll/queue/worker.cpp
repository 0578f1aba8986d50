#include "queue/worker.h"

#include <memory>
#include <new>
#include <utility>

#include "frame/error_slot.h"
#include "frame/library.h"
#include "frame/session.h"
#include "queue/queue_table.h"
#include "queue/transfer.h"

namespace qv {
namespace {

constexpr DWORD kStartPauseMs = 50;
constexpr DWORD kFilePauseMs = 250;
constexpr DWORD kSuspendedPollMs = 250;

// What a worker is started with.
struct WorkerStart {
  QueueRef queue;
  QueueWorkerRef worker;
  DWORD type = 0;  // of the files to transfer, 0 = any
  EventCallback callback;
};

class Worker {
 public:
  explicit Worker(WorkerStart start) : start_(std::move(start)), queue_(*start_.queue) {}

  void Run() {
    Notify();
    try {
      QueuedFile file;
      for (NextStep step = Next(file); step != NextStep::kEnd; step = Next(file)) {
        if (step == NextStep::kWait) {
          WaitWhileSuspended();
        } else {
          Process(file);
        }
      }
    } catch (const std::bad_alloc&) {
      // Without memory for a copy of the file the run is over; the file stays as it is.
    }
    {
      LibraryLock lock;
      queue_.EndRun();
    }
    Notify();
  }

 private:
  void Notify() const {
    if (start_.callback.procedure == nullptr) return;
    start_.callback.procedure(queue_.handle(), HTTP_EVENT_QUEUE, 0, start_.callback.parameter);
  }

  NextStep Next(QueuedFile& file) {
    LibraryLock lock;
    return queue_.Pick(start_.type, file);
  }

  bool IsSuspended() const {
    LibraryLock lock;
    return queue_.state() == HTTP_QUEUE_SUSPENDED;
  }

  bool IsAbandoned() const {
    LibraryLock lock;
    return queue_.Abandoned();
  }

  void WaitWhileSuspended() const {
    Notify();
    while (IsSuspended()) Sleep(kSuspendedPollMs);
    if (!IsAbandoned()) Notify();
  }

  void Process(const QueuedFile& file) {
    TransferOutcome outcome;
    if (file.MovesData()) outcome = TransferQueuedFile(queue_, file, start_.callback);
    {
      LibraryLock lock;
      queue_.Finish(file.id, outcome.error, outcome.bytes);
    }
    if (file.MovesData() && !IsAbandoned()) Sleep(kFilePauseMs);
  }

  const WorkerStart start_;
  Queue& queue_;
};

DWORD WINAPI RunWorker(LPVOID parameter) {
  const std::unique_ptr<WorkerStart> start(static_cast<WorkerStart*>(parameter));
  Worker(std::move(*start)).Run();
  return 0;
}

// Creates the thread of a worker, suspended. The lock is held meanwhile: nobody sees a queue that
// is about to be started twice.
Error CreateWorker(std::unique_ptr<WorkerStart> start) {
  QueueTable::Get().AddWorker(start->worker);
  if (!start->worker->thread.Create(RunWorker, start.get())) return QV_ERROR_THREAD_CREATION_FAILED;
  start->queue->BeginRun(start->worker);
  static_cast<void>(start.release());  // the thread's now
  return kNoError;
}

Result<QueueWorkerRef> PrepareRun(HQUEUE handle, DWORD type, DWORD reserved,
                                  const EventCallback& callback) {
  LibraryLock lock;
  Result<QueueRef> queue = QueueTable::Get().Find(handle);
  if (!queue) return queue.error();
  if (reserved != 0) return Error(QV_ERROR_INVALID_PARAMETER);
  if ((*queue)->size() == 0) return Error(QV_ERROR_QUEUE_EMPTY);
  if ((*queue)->HasWorker()) return Error(QV_ERROR_QUEUE_RUNNING);
  const QueueWorkerRef worker = std::make_shared<QueueWorker>();
  auto start = std::make_unique<WorkerStart>(
      WorkerStart{*queue, worker, FileFilter::Of(type, 0).type, callback});
  if (Error error = CreateWorker(std::move(start))) return error;
  return worker;
}

}  // namespace

Error StartQueue(HQUEUE handle, DWORD type, DWORD reserved, HTTPEVENTPROC procedure,
                 DWORD_PTR parameter) {
  Result<QueueWorkerRef> worker = PrepareRun(handle, type, reserved, {procedure, parameter});
  if (!worker) return worker.error();
  (*worker)->thread.Start();
  Sleep(kStartPauseMs);
  return kNoError;
}

}  // namespace qv
