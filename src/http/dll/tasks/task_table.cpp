#include "tasks/task_table.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "frame/library.h"
#include "frame/session.h"

namespace qv {
namespace {

constexpr DWORD kListedAfterEndMs = 120000;

bool Matches(Task& task, DWORD now, DWORD options) {
  if (task.Ended()) {
    return (options & HTTP_TASK_FINISHED) != 0 && task.SinceEnd(now) < kListedAfterEndMs;
  }
  const DWORD wanted = task.worker().suspended() ? HTTP_TASK_SUSPENDED : HTTP_TASK_ACTIVE;
  return options == HTTP_TASK_DEFAULT || (options & wanted) != 0;
}

}  // namespace

TaskTable& TaskTable::Get() {
  static TaskTable& table = *new TaskTable;  // outlives every static of the application
  return table;
}

Result<std::size_t> TaskTable::ChooseSlot() const {
  const auto empty = std::find(slots_.begin(), slots_.end(), nullptr);
  if (empty != slots_.end()) return static_cast<std::size_t>(empty - slots_.begin());
  const DWORD now = GetTickCount();
  std::size_t oldest = kSlots;
  for (std::size_t slot = 0; slot < kSlots; ++slot) {
    if (!slots_[slot]->Ended()) continue;
    const bool older =
        oldest == kSlots || slots_[slot]->SinceEnd(now) > slots_[oldest]->SinceEnd(now);
    if (older) oldest = slot;
  }
  if (oldest == kSlots) return Error(QV_ERROR_TOO_MANY_THREADS);
  return oldest;
}

void TaskTable::Retire(TaskRef task) {
  LibraryLock lock;
  std::erase_if(leaving_, [](const TaskRef& other) { return other->worker().HasEnded(); });
  if (task && !task->worker().HasEnded()) leaving_.push_back(std::move(task));
}

Result<TaskRef> TaskTable::Add(const std::function<Result<TaskRef>(DWORD id)>& make) {
  LibraryLock lock;
  // Whoever empties the table at the end of the library must not find it filled again.
  if (Error error = library::CheckInitialized()) return error;
  Result<std::size_t> slot = ChooseSlot();
  if (!slot) return slot.error();
  const DWORD id = last_id_ + 1 != 0 ? last_id_ + 1 : 1;
  leaving_.reserve(leaving_.size() + 1);
  Result<TaskRef> task = make(id);
  if (!task) return task;
  last_id_ = id;
  Retire(std::exchange(slots_[*slot], *task));
  return task;
}

Result<TaskRef> TaskTable::Find(DWORD id) {
  LibraryLock lock;
  const auto found = std::find_if(slots_.begin(), slots_.end(),
                                  [id](const TaskRef& task) { return task && task->id() == id; });
  if (found == slots_.end()) return Error(QV_ERROR_INVALID_TASK);
  return *found;
}

TaskRef TaskTable::FindBySession(HCLIENT session) {
  LibraryLock lock;
  const auto found = std::find_if(slots_.begin(), slots_.end(), [session](const TaskRef& task) {
    const SessionRef own = task ? task->session() : nullptr;
    return own && own->Alive() && own->handle == session;
  });
  return found != slots_.end() ? *found : nullptr;
}

std::vector<DWORD> TaskTable::List(DWORD now, DWORD options) {
  std::vector<DWORD> ids;
  LibraryLock lock;
  for (const TaskRef& task : slots_) {
    if (task && Matches(*task, now, options)) ids.push_back(task->id());
  }
  return ids;
}

std::vector<TaskRef> TaskTable::TakeAll() {
  std::vector<TaskRef> tasks;
  LibraryLock lock;
  tasks.swap(leaving_);
  for (TaskRef& task : slots_) {
    if (task) tasks.push_back(std::move(task));
    task = nullptr;
  }
  return tasks;
}

}  // namespace qv
