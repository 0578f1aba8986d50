// Exported functions: observing and steering tasks.
#include <algorithm>

#include "frame/boundary.h"
#include "frame/session.h"
#include "platform/kernel32.h"
#include "protocol/transfer_status.h"
#include "tasks/steering.h"
#include "tasks/task_table.h"

namespace {

constexpr DWORD kEnumerationPauseMs = 10;

using Wait = bool (*)(const std::vector<DWORD>& ids, DWORD timeout_ms);

// Waits for the listed tasks, or for those that run when there is no list.
BOOL WaitForTasks(const DWORD* list, INT count, DWORD timeout_ms, Wait wait) {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (list != nullptr && count < 1) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    std::vector<DWORD> ids;
    if (list != nullptr) {
      ids.assign(list, list + count);
    } else {
      ids = qv::TaskTable::Get().List(GetTickCount(), HTTP_TASK_ACTIVE);
      if (ids.empty()) return TRUE;
    }
    return wait(ids, timeout_ms) ? TRUE : FALSE;
  });
}

// The progress of a task's session while the task runs.
qv::Result<HTTPTRANSFERSTATUSEX> LiveStatusOf(const qv::Task& task) {
  const qv::SessionRef session = task.session();
  if (!session) return qv::Error(QV_ERROR_NOT_CONNECTED);
  if (qv::Error error = session->CheckAlive()) return error;
  return qv::TransferStatusOf(session->transfer, GetTickCount(),
                              session->Has(HTTP_OPTION_HIRES_TIMER));
}

// The state of a task; its progress goes into the record, if there is one.
qv::Result<INT> StatusOf(DWORD id, HTTPTRANSFERSTATUSEX* status) {
  qv::Result<qv::TaskRef> found = qv::TaskTable::Get().Find(id);
  if (!found) return found.error();
  qv::Task& task = **found;
  if (task.Ended()) {
    if (status != nullptr) *status = task.final_status();
    return HTTP_TASK_FINISHED;
  }
  if (status != nullptr) {
    qv::Result<HTTPTRANSFERSTATUSEX> live = LiveStatusOf(task);
    if (!live) return live.error();
    *status = *live;
  }
  return task.worker().suspended() ? HTTP_TASK_SUSPENDED : HTTP_TASK_ACTIVE;
}

qv::Result<BOOL> Success(qv::Error error) {
  if (error) return error;
  return TRUE;
}

}  // namespace

BOOL WINAPI HttpTaskWait(DWORD nTaskId, DWORD dwMilliseconds, DWORD /*dwReserved*/,
                         LPDWORD lpdwElapsed, LPDWORD lpdwError) QV_NOEXCEPT {
  if (lpdwElapsed != nullptr) *lpdwElapsed = 0;
  if (lpdwError != nullptr) *lpdwError = 0;
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    qv::Result<qv::TaskOutcome> outcome = qv::WaitForTask(nTaskId, dwMilliseconds);
    if (!outcome) return outcome.error();
    if (lpdwElapsed != nullptr) *lpdwElapsed = outcome->elapsed_ms;
    if (lpdwError != nullptr) *lpdwError = outcome->error.code();
    qv::SetLastError(qv::kNoError);
    return outcome->ended ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpTaskWaitAll(const DWORD* lpTasks, INT nTasks, DWORD dwMilliseconds,
                            DWORD /*dwReserved*/) QV_NOEXCEPT {
  return WaitForTasks(lpTasks, nTasks, dwMilliseconds, qv::WaitForAllTasks);
}

BOOL WINAPI HttpTaskWaitAny(const DWORD* lpTasks, INT nTasks, DWORD dwMilliseconds,
                            DWORD /*dwReserved*/) QV_NOEXCEPT {
  return WaitForTasks(lpTasks, nTasks, dwMilliseconds, qv::WaitForAnyTask);
}

BOOL WINAPI HttpTaskAbort(DWORD nTaskId, DWORD dwMilliseconds) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&] { return qv::AbortTask(nTaskId, dwMilliseconds); });
}

BOOL WINAPI HttpTaskSuspend(DWORD nTaskId) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&] { return Success(qv::SuspendTask(nTaskId)); });
}

BOOL WINAPI HttpTaskResume(DWORD nTaskId) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&] { return Success(qv::ResumeTask(nTaskId)); });
}

DWORD WINAPI HttpTaskDone(DWORD nTaskId) QV_NOEXCEPT {
  return qv::Boundary<DWORD>(QV_ERROR_INVALID_TASK, [&]() -> qv::Result<DWORD> {
    qv::Result<qv::TaskRef> task = qv::TaskTable::Get().Find(nTaskId);
    if (!task) return task.error();
    return DWORD{(*task)->Ended() ? 1u : 0u};
  });
}

DWORD WINAPI HttpGetTaskError(DWORD nTaskId) QV_NOEXCEPT {
  return qv::Boundary<DWORD>(QV_ERROR_INVALID_TASK, [&]() -> qv::Result<DWORD> {
    qv::Result<qv::TaskRef> task = qv::TaskTable::Get().Find(nTaskId);
    if (!task) return task.error();
    if (!(*task)->Ended()) return DWORD{QV_ERROR_TASK_ACTIVE};
    if ((*task)->worker().suspended()) return DWORD{QV_ERROR_TASK_SUSPENDED};
    return (*task)->error().code();
  });
}

DWORD WINAPI HttpGetTaskId(HCLIENT hClient) QV_NOEXCEPT {
  return qv::Boundary<DWORD>(0, [&]() -> qv::Result<DWORD> {
    const qv::TaskRef task = qv::TaskTable::Get().FindBySession(hClient);
    if (!task) return qv::Error(QV_ERROR_INVALID_HANDLE);
    return task->id();
  });
}

HCLIENT WINAPI HttpGetTaskHandle(DWORD nTaskId) QV_NOEXCEPT {
  return qv::Boundary<HCLIENT>(INVALID_CLIENT, [&]() -> qv::Result<HCLIENT> {
    qv::Result<qv::TaskRef> task = qv::TaskTable::Get().Find(nTaskId);
    if (!task) return task.error();
    const qv::SessionRef session = (*task)->session();
    if (!session) return qv::Error(QV_ERROR_NOT_CONNECTED);
    qv::Result<qv::SessionRef> usable = qv::SessionTable::Get().Validate(session->handle);
    if (!usable || !session->connection.connected) qv::SetLastError(QV_ERROR_NOT_CONNECTED);
    return session->handle;
  });
}

INT WINAPI HttpGetTaskStatus(DWORD nTaskId, LPHTTPTRANSFERSTATUS lpStatus) QV_NOEXCEPT {
  if (lpStatus != nullptr) *lpStatus = HTTPTRANSFERSTATUS{};
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    HTTPTRANSFERSTATUSEX status{};
    qv::Result<INT> state = StatusOf(nTaskId, lpStatus != nullptr ? &status : nullptr);
    if (!state || lpStatus == nullptr) return state;
    *lpStatus = qv::NarrowTransferStatus(status);
    if (*state == HTTP_TASK_FINISHED) {
      lpStatus->dwBytesTotal = static_cast<DWORD>(status.dwBytesTotal);
      lpStatus->dwBytesCopied = static_cast<DWORD>(status.dwBytesCopied);
    }
    return state;
  });
}

INT WINAPI HttpGetTaskStatusEx(DWORD nTaskId, DWORD /*dwReserved*/,
                               LPHTTPTRANSFERSTATUSEX lpStatusEx) QV_NOEXCEPT {
  if (lpStatusEx != nullptr) *lpStatusEx = HTTPTRANSFERSTATUSEX{};
  return qv::Boundary<INT>(HTTP_ERROR, [&] { return StatusOf(nTaskId, lpStatusEx); });
}

INT WINAPI HttpEnumTasks(LPDWORD lpTasks, INT nMaxTasks, DWORD dwOptions) QV_NOEXCEPT {
  const DWORD now = GetTickCount();
  if (lpTasks != nullptr && nMaxTasks > 0) std::fill_n(lpTasks, nMaxTasks, 0u);
  Sleep(kEnumerationPauseMs);
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    const std::vector<DWORD> ids = qv::TaskTable::Get().List(now, dwOptions);
    const auto count = static_cast<INT>(ids.size());
    if (lpTasks == nullptr) return count;
    if (count > nMaxTasks) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    std::copy(ids.begin(), ids.end(), lpTasks);
    return count;
  });
}
