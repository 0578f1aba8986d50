#include "tasks/worker.h"

#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "frame/error_slot.h"
#include "frame/session.h"
#include "platform/kernel32.h"
#include "protocol/operation.h"
#include "tasks/operations.h"
#include "tasks/task_session.h"
#include "tasks/task_table.h"
#include "url/validation.h"

namespace qv {
namespace {

constexpr DWORD kHeadStartMs = 50;
constexpr SIZE_T kStackSize = 0x80000;

// What the starting thread hands over.
struct WorkerStart {
  TaskRef task;
  TaskRequest request;
};

// Where the task's session is to lead: as the named session, if it is still there, and as a
// resource that is a URL. A form is submitted to the server of the session.
Result<ConnectionSettings> FindSettings(const TaskRequest& request) {
  ConnectionSettings settings;
  const SessionRef named = request.session.lock();
  if (named && named->Alive()) {
    settings = SettingsOf(*named);
  } else if (ValidateUrl(request.resource)) {
    return Error(QV_ERROR_INVALID_RESOURCE);
  }
  if (request.operation == TaskOperation::kSubmitForm) return settings;
  if (Error error = LeadToResource(settings, request.resource.str())) return error;
  return settings;
}

void CALLBACK ReportProgress(HCLIENT session, UINT event, DWORD error, DWORD_PTR task) {
  reinterpret_cast<Task*>(task)->Call(session, event, error);
}

// One run of a task on its own thread.
class TaskRun {
 public:
  TaskRun(Task& task, TaskRequest& request) : task_(task), request_(request) {}
  TaskRun(const TaskRun&) = delete;
  TaskRun& operator=(const TaskRun&) = delete;
  ~TaskRun() { Close(); }

  Error Run() {
    Result<ConnectionSettings> settings = FindSettings(request_);
    if (!settings) return settings.error();
    Error error = Open(*settings);
    task_.Call(handle_, HTTP_EVENT_CONNECT, error.code());
    task_.SetUnderWay();
    if (!error) error = Transfer();
    operation_.reset();
    return error;
  }

  void Complete(Error error) {
    task_.Finish(error);
    task_.SetUnderWay();
    task_.Call(handle_, HTTP_EVENT_DISCONNECT, error.code());
    Close();
  }

 private:
  Error CheckCancelled() const {
    return task_.cancelled() ? Error(QV_ERROR_OPERATION_CANCELED) : kNoError;
  }

  Error Open(const ConnectionSettings& settings) {
    if (Error error = CheckCancelled()) return error;
    SetLastError(kNoError);
    const Error failure = OpenTaskSession(settings, [this](const SessionRef& created) {
      session_ = created;
      operation_.emplace(session_->operation);
      task_.SetConnecting(session_);
    });
    if (failure) {
      Close();
      return failure;
    }
    handle_ = session_->handle;
    task_.SetSession(session_);
    task_.SetConnecting(nullptr);
    if (Error error = CheckCancelled()) return error;
    return PrepareTaskSession(*session_, settings);
  }

  // The callback may have closed the session, and may have opened another under the same handle.
  Error Transfer() {
    if (Error error = CheckCancelled()) return error;
    if (Error error = session_->CheckAlive()) return error;
    if (task_.HasCallback() && ReportsProgress(request_.operation)) {
      HttpRegisterEvent(handle_, HTTP_EVENT_PROGRESS, ReportProgress,
                        reinterpret_cast<DWORD_PTR>(&task_));
    }
    SetLastError(kNoError);
    if (RunOperation(handle_, request_) == HTTP_ERROR && LastError()) return LastError();
    HTTPTRANSFERSTATUSEX status{};
    if (session_->Alive()) HttpGetTransferStatusEx(handle_, &status);
    task_.SetFinalStatus(status);
    return kNoError;
  }

  void Close() {
    operation_.reset();
    task_.SetConnecting(nullptr);
    task_.SetSession(nullptr);
    if (session_ && session_->Alive()) HttpDisconnect(session_->handle);
    session_.reset();
  }

  Task& task_;
  TaskRequest& request_;
  SessionRef session_;
  HCLIENT handle_ = INVALID_CLIENT;
  // Spans everything on the session up to the transfer's end, so that no step on the way forgets
  // that the task was cancelled.
  std::optional<OperationScope> operation_;
};

Error RunGuarded(TaskRun& run) noexcept {
  try {
    return run.Run();
  } catch (const std::bad_alloc&) {
    return QV_ERROR_OUT_OF_MEMORY;
  } catch (...) {
    return QV_ERROR_INTERNAL_FAILURE;
  }
}

DWORD WINAPI RunWorker(LPVOID parameter) {
  const std::unique_ptr<WorkerStart> start(static_cast<WorkerStart*>(parameter));
  TaskRun run(*start->task, start->request);
  run.Complete(RunGuarded(run));
  return 0;
}

Result<TaskRef> CreateTask(DWORD id, TaskRequest& request) {
  auto task = std::make_shared<Task>(id, request.callback, request.parameter);
  auto start = std::make_unique<WorkerStart>(WorkerStart{task, std::move(request)});
  if (!task->worker().Create(RunWorker, start.get(), kStackSize)) {
    return Error(QV_ERROR_THREAD_CREATION_FAILED);
  }
  static_cast<void>(start.release());  // the worker's now
  return task;
}

}  // namespace

Result<DWORD> StartTask(TaskRequest request) {
  Result<TaskRef> task =
      TaskTable::Get().Add([&request](DWORD id) { return CreateTask(id, request); });
  if (!task) return task.error();
  (*task)->worker().Start();
  const DWORD start = GetTickCount();
  while (!(*task)->under_way() && GetTickCount() - start < kHeadStartMs) Sleep(1);
  return (*task)->id();
}

}  // namespace qv
