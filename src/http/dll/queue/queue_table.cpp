#include "queue/queue_table.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "frame/library.h"

namespace qv {
namespace {

constexpr DWORD kHandleBaseStart = 2048;
constexpr DWORD kHandleBaseSpread = 0xFFF;

constexpr DWORD kEndSliceMs = 50;
// A worker sees within this time that its transfer is interrupted. One that waits in its callback,
// over a session of the application, is woken by the end of that session.
constexpr DWORD kInterruptMs = 1000;
// Only a name lookup, or a callback that does not come back, takes longer. Such a worker is left
// behind: it finds its queue gone and touches nothing.
constexpr DWORD kLongestEndMs = 10000;

}  // namespace

QueueTable& QueueTable::Get() {
  static QueueTable& table = *new QueueTable;  // outlives every static of the application
  return table;
}

Result<QueueRef> QueueTable::Create(UINT max_files, UINT timeout, DWORD options) {
  const auto slot = std::find(slots_.begin(), slots_.end(), nullptr);
  if (slot == slots_.end()) return Error(QV_ERROR_OUT_OF_MEMORY);
  if (base_ == 0) base_ = (GetTickCount() & kHandleBaseSpread) + kHandleBaseStart;
  const auto index = static_cast<HQUEUE>(slot - slots_.begin());
  *slot = std::make_shared<Queue>(base_ + index, max_files, timeout, options);
  return *slot;
}

Result<QueueRef> QueueTable::Find(HQUEUE handle) const {
  if (base_ != 0 && handle >= base_ && handle - base_ < kSlots) {
    if (QueueRef queue = slots_[handle - base_]) return queue;
  }
  return Error(QV_ERROR_INVALID_QUEUE_HANDLE);
}

QueueRef QueueTable::FindByThread(DWORD thread_id) const {
  const auto found = std::find_if(slots_.begin(), slots_.end(), [thread_id](const QueueRef& queue) {
    return queue && queue->HasWorker() && queue->worker_id() == thread_id;
  });
  return found != slots_.end() ? *found : nullptr;
}

void QueueTable::Remove(const Queue& queue) { slots_[queue.handle() - base_] = nullptr; }

std::vector<QueueRef> QueueTable::TakeAll() {
  std::vector<QueueRef> queues;
  queues.reserve(kSlots);
  for (QueueRef& slot : slots_) {
    if (slot) queues.push_back(std::exchange(slot, nullptr));
  }
  return queues;
}

void QueueTable::AddWorker(QueueWorkerRef worker) {
  std::erase_if(workers_, [](const QueueWorkerRef& other) { return other->thread.HasEnded(); });
  workers_.push_back(std::move(worker));
}

std::vector<QueueWorkerRef> QueueTable::OtherWorkers() const {
  std::vector<QueueWorkerRef> others;
  std::copy_if(workers_.begin(), workers_.end(), std::back_inserter(others),
               [](const QueueWorkerRef& worker) {
                 return !worker->thread.IsCaller() && !worker->thread.HasEnded();
               });
  return others;
}

namespace {

// Workers that are still there, each asked once more to end: a session may have come after the
// last time.
std::vector<QueueWorkerRef> InterruptWorkers() {
  LibraryLock lock;
  std::vector<QueueWorkerRef> workers = QueueTable::Get().OtherWorkers();
  for (const QueueWorkerRef& worker : workers) worker->Interrupt();
  return workers;
}

}  // namespace

void EndQueues() {
  std::vector<QueueRef> queues;  // freed without the lock
  {
    LibraryLock lock;
    queues = QueueTable::Get().TakeAll();
    for (const QueueRef& queue : queues) queue->Abandon();
  }
  const DWORD start = GetTickCount();
  for (auto workers = InterruptWorkers(); !workers.empty(); workers = InterruptWorkers()) {
    const DWORD elapsed = GetTickCount() - start;
    if (elapsed >= kLongestEndMs) return;
    if (elapsed >= kInterruptMs) SessionTable::Get().ReleaseAll();
    workers.front()->thread.Wait(kEndSliceMs);
  }
}

}  // namespace qv
