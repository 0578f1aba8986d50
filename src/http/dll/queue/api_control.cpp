// Exported functions: the run of a queue.
#include "frame/session.h"
#include "queue/control.h"
#include "queue/queue_boundary.h"
#include "queue/worker.h"

namespace {

// The queue whose worker is the calling thread.
qv::Result<HQUEUE> OwnQueue() {
  qv::LibraryLock lock;
  const qv::QueueRef queue = qv::QueueTable::Get().FindByThread(GetCurrentThreadId());
  if (!queue) return qv::Error(QV_ERROR_INVALID_QUEUE_HANDLE);
  return queue->handle();
}

// Runs body(Queue&) with a queue, or with that of the calling thread for 0.
template <class T, class Body>
T OwnQueueBoundary(HQUEUE queue, T failure, Body&& body) noexcept {
  if (queue == 0) queue = qv::Boundary<HQUEUE>(0, OwnQueue);
  if (queue == 0) return failure;
  return qv::QueueBoundary<T>(queue, failure, body);
}

}  // namespace

BOOL WINAPI HttpStartQueue(HQUEUE hQueue, DWORD dwFileType, DWORD dwReserved,
                           HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (qv::Error error = qv::StartQueue(hQueue, dwFileType, dwReserved, lpEventProc, dwParam)) {
      return error;
    }
    return TRUE;
  });
}

BOOL WINAPI HttpStopQueue(HQUEUE hQueue) QV_NOEXCEPT {
  return qv::QueueAction(hQueue, [](qv::Queue& queue) { return queue.Stop(); });
}

BOOL WINAPI HttpSuspendQueue(HQUEUE hQueue) QV_NOEXCEPT {
  return qv::QueueAction(hQueue,
                         [](qv::Queue& queue) { return queue.ChangeState(HTTP_QUEUE_SUSPENDED); });
}

BOOL WINAPI HttpResumeQueue(HQUEUE hQueue) QV_NOEXCEPT {
  return qv::QueueAction(hQueue,
                         [](qv::Queue& queue) { return queue.ChangeState(HTTP_QUEUE_RUNNING); });
}

BOOL WINAPI HttpCancelQueuedFile(HQUEUE hQueue, DWORD dwFileId) QV_NOEXCEPT {
  return qv::QueueAction(hQueue, [&](qv::Queue& queue) -> qv::Error {
    if (dwFileId != 0) return queue.Cancel(dwFileId);
    if (!queue.HasWorker()) return QV_ERROR_QUEUE_STOPPED;
    return queue.Cancel(queue.current_file());
  });
}

BOOL WINAPI HttpWaitForQueue(HQUEUE hQueue, DWORD dwTimeout, LPDWORD lpdwTimeElapsed,
                             LPDWORD lpdwLastError) QV_NOEXCEPT {
  if (lpdwTimeElapsed != nullptr) *lpdwTimeElapsed = 0;
  if (lpdwLastError != nullptr) *lpdwLastError = 0;
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    qv::Result<qv::QueueWait> wait = qv::WaitForQueue(hQueue, dwTimeout);
    if (!wait) return wait.error();
    if (lpdwTimeElapsed != nullptr) *lpdwTimeElapsed = wait->elapsed;
    if (lpdwLastError != nullptr) *lpdwLastError = wait->last_error.code();
    qv::SetLastError(wait->error);
    return wait->ended ? TRUE : FALSE;
  });
}

DWORD WINAPI HttpGetQueueThread(HQUEUE hQueue) QV_NOEXCEPT {
  return OwnQueueBoundary<DWORD>(hQueue, 0, [](qv::Queue& queue) -> qv::Result<DWORD> {
    if (!queue.HasWorker()) return qv::Error(QV_ERROR_QUEUE_STOPPED);
    return queue.worker_id();
  });
}

HQUEUE WINAPI HttpGetThreadQueue(DWORD dwThreadId) QV_NOEXCEPT {
  return qv::Boundary<HQUEUE>(INVALID_QUEUE, [&]() -> qv::Result<HQUEUE> {
    const DWORD thread = dwThreadId != 0 ? dwThreadId : GetCurrentThreadId();
    qv::LibraryLock lock;
    const qv::QueueRef queue = qv::QueueTable::Get().FindByThread(thread);
    if (!queue) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    return queue->handle();
  });
}

HCLIENT WINAPI HttpGetQueueClient(HQUEUE hQueue) QV_NOEXCEPT {
  return OwnQueueBoundary<HCLIENT>(hQueue, INVALID_CLIENT,
                                   [](qv::Queue& queue) -> qv::Result<HCLIENT> {
                                     if (!queue.HasWorker())
                                       return qv::Error(QV_ERROR_QUEUE_STOPPED);
                                     const qv::SessionRef session = queue.ActiveSession();
                                     if (!session) return qv::Error(QV_ERROR_NO_QUEUED_TRANSFER);
                                     return session->handle;
                                   });
}
