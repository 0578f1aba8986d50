// All tasks of the process, running, suspended and finished.
#ifndef QV_TASKS_TASK_TABLE_H_
#define QV_TASKS_TASK_TABLE_H_

#include <array>
#include <functional>
#include <vector>

#include "tasks/task.h"

namespace qv {

class TaskTable {
 public:
  static constexpr std::size_t kSlots = 128;

  static TaskTable& Get();

  // Gives the task that `make` builds for an id a place: an empty slot, or that of the task that
  // ended longest ago. QV_ERROR_NETWORK_NOT_INITIALIZED, QV_ERROR_TOO_MANY_THREADS when no task has
  // ended, and what `make` fails with; it runs under the library lock.
  Result<TaskRef> Add(const std::function<Result<TaskRef>(DWORD id)>& make);

  // QV_ERROR_INVALID_TASK.
  Result<TaskRef> Find(DWORD id);

  // The task whose session this is, NULL when there is none.
  TaskRef FindBySession(HCLIENT session);

  // The ids of tasks in slot order. Running and suspended tasks count as the options (HTTP_TASK_*)
  // say; tasks that have ended only when asked for, and until two minutes after their end, seen
  // from the tick count `now`.
  std::vector<DWORD> List(DWORD now, DWORD options);

  // Empties the table; also those tasks are returned whose place another has taken and whose worker
  // is still on its way out.
  std::vector<TaskRef> TakeAll();

  // Remembers a task that is no longer in its place until its worker has ended, for the next
  // TakeAll.
  void Retire(TaskRef task);

 private:
  Result<std::size_t> ChooseSlot() const;

  // All guarded by the library lock.
  std::array<TaskRef, kSlots> slots_;
  std::vector<TaskRef> leaving_;
  DWORD last_id_ = 0;
};

}  // namespace qv

#endif  // QV_TASKS_TASK_TABLE_H_
