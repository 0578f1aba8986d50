#include "tasks/steering.h"

#include <algorithm>

#include "tasks/task_table.h"

namespace qv {
namespace {

constexpr DWORD kPollMs = 10;   // between two looks at a list of tasks
constexpr DWORD kSliceMs = 20;  // between two looks at what a wait is for
// How long the end of the library waits for a worker: one inside the library notices at its next
// slice of a wait, and only a name lookup takes longer; one inside the application's callback may
// wait for the very thread that ends the library.
constexpr DWORD kLibraryGraceMs = 5000;
constexpr DWORD kCallbackGraceMs = 1000;
constexpr DWORD kTerminationMs = 100;

class Deadline {
 public:
  explicit Deadline(DWORD timeout_ms) : start_(GetTickCount()), timeout_ms_(timeout_ms) {}

  DWORD Elapsed() const { return GetTickCount() - start_; }
  // What is left of the time, at most `longest`.
  DWORD Remaining(DWORD longest) const {
    if (timeout_ms_ == INFINITE) return longest;
    const DWORD elapsed = Elapsed();
    return elapsed >= timeout_ms_ ? 0 : std::min(longest, timeout_ms_ - elapsed);
  }
  bool Passed() const { return timeout_ms_ != INFINITE && Elapsed() > timeout_ms_; }

 private:
  DWORD start_;
  DWORD timeout_ms_;
};

// Waits for the end of a worker. Ends early when the library gives its tasks up, so that two
// threads which wait for each other there do not block its end.
bool AwaitWorker(Task& task, DWORD timeout_ms) {
  const Deadline deadline(timeout_ms);
  while (true) {
    const DWORD slice = deadline.Remaining(kSliceMs);
    if (task.worker().Wait(slice)) return true;
    if (slice == 0 || task.abandoned()) return false;
  }
}

// A task that a thread may suspend, resume or abort: any but its own.
Result<TaskRef> FindToSteer(DWORD id) {
  Result<TaskRef> task = TaskTable::Get().Find(id);
  if (task && (*task)->worker().IsCaller()) return Error(QV_ERROR_THREAD_DEADLOCK);
  return task;
}

TaskRef FindTask(DWORD id) {
  Result<TaskRef> task = TaskTable::Get().Find(id);
  return task ? *task : nullptr;
}

bool IsRunning(DWORD id) {
  const TaskRef task = FindTask(id);
  if (!task || task->Ended() || task->worker().IsCaller()) return false;
  return !task->worker().Wait(0);
}

bool HasEnded(DWORD id) {
  const TaskRef task = FindTask(id);
  if (!task) return false;
  return task->Ended() || (!task->worker().IsCaller() && task->worker().Wait(0));
}

// Repeats a look at tasks until it is satisfied or the time is over.
template <class Look>
bool PollUntil(DWORD timeout_ms, Look&& look) {
  const Deadline deadline(timeout_ms);
  while (true) {
    if (look()) return true;
    Sleep(kPollMs);
    if (deadline.Passed()) return false;
  }
}

void EndWorker(Task& task, const Deadline& since_cancel) {
  WorkerThread& worker = task.worker();
  while (true) {
    static_cast<void>(worker.Resume());
    task.Abandon();  // once more: a callback may have begun something new
    if (worker.Wait(kSliceMs)) return;
    const DWORD grace = task.InCallback() ? kCallbackGraceMs : kLibraryGraceMs;
    if (since_cancel.Elapsed() > grace) break;
  }
  worker.Terminate();
  worker.Wait(kTerminationMs);
}

}  // namespace

Result<TaskOutcome> WaitForTask(DWORD id, DWORD timeout_ms) {
  Result<TaskRef> found = TaskTable::Get().Find(id);
  if (!found) return found.error();
  Task& task = **found;
  if (!task.Ended()) {
    if (task.worker().IsCaller()) return Error(QV_ERROR_THREAD_DEADLOCK);
    if (task.worker().suspended()) return Error(QV_ERROR_TASK_SUSPENDED);
    AwaitWorker(task, timeout_ms);
    if (!FindTask(id)) return Error(QV_ERROR_INVALID_TASK);
  }
  return TaskOutcome{task.Ended(), task.Elapsed(), task.error()};
}

bool WaitForAllTasks(const std::vector<DWORD>& ids, DWORD timeout_ms) {
  return PollUntil(timeout_ms, [&ids] { return std::none_of(ids.begin(), ids.end(), IsRunning); });
}

bool WaitForAnyTask(const std::vector<DWORD>& ids, DWORD timeout_ms) {
  return PollUntil(timeout_ms, [&ids] { return std::any_of(ids.begin(), ids.end(), HasEnded); });
}

Result<BOOL> AbortTask(DWORD id, DWORD timeout_ms) {
  Result<TaskRef> found = TaskTable::Get().Find(id);
  if (!found) return found.error();
  Task& task = **found;
  if (task.Ended()) return Error(QV_ERROR_TASK_FINISHED);
  if (task.worker().IsCaller()) return Error(QV_ERROR_THREAD_DEADLOCK);
  if (task.worker().HasEnded()) return Error(QV_ERROR_INVALID_TASK);
  task.Cancel();
  static_cast<void>(task.worker().Resume());
  task.worker().Wait(kPollMs);
  return AwaitWorker(task, timeout_ms) ? TRUE : FALSE;
}

Error SuspendTask(DWORD id) {
  Result<TaskRef> task = FindToSteer(id);
  return task ? (*task)->worker().Suspend() : task.error();
}

Error ResumeTask(DWORD id) {
  Result<TaskRef> task = FindToSteer(id);
  return task ? (*task)->worker().Resume() : task.error();
}

void AbortAllTasks() {
  const std::vector<TaskRef> tasks = TaskTable::Get().TakeAll();
  for (const TaskRef& task : tasks) task->Abandon();
  const Deadline since_cancel(INFINITE);
  for (const TaskRef& task : tasks) {
    if (task->worker().IsCaller()) {
      TaskTable::Get().Retire(task);
    } else {
      EndWorker(*task, since_cancel);
    }
  }
}

}  // namespace qv
