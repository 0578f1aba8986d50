// The table of queues, and the workers that have not ended yet.
#ifndef QV_QUEUE_QUEUE_TABLE_H_
#define QV_QUEUE_QUEUE_TABLE_H_

#include <array>
#include <vector>

#include "queue/queue.h"

namespace qv {

// A queue handle counts from a base that is chosen at the first queue of the process. Everything
// here is called with the library lock held.
class QueueTable {
 public:
  static QueueTable& Get();

  // QV_ERROR_OUT_OF_MEMORY: there are too many.
  Result<QueueRef> Create(UINT max_files, UINT timeout, DWORD options);

  // QV_ERROR_INVALID_QUEUE_HANDLE.
  Result<QueueRef> Find(HQUEUE handle) const;

  // The queue whose worker has this thread id, NULL when there is none.
  QueueRef FindByThread(DWORD thread_id) const;

  // Empties the slot of a queue.
  void Remove(const Queue& queue);

  // Empties every slot.
  std::vector<QueueRef> TakeAll();

  // Keeps track of a worker until it has ended.
  void AddWorker(QueueWorkerRef worker);

  // Workers that have not ended, except the calling thread.
  std::vector<QueueWorkerRef> OtherWorkers() const;

 private:
  static constexpr std::size_t kSlots = 256;

  std::array<QueueRef, kSlots> slots_;
  std::vector<QueueWorkerRef> workers_;
  DWORD base_ = 0;  // 0 before the first queue
};

// Ends everything: takes all queues away, interrupts their transfers and waits until their workers
// have ended. When the calling thread is a worker itself, that one ends by itself later.
void EndQueues();

}  // namespace qv

#endif  // QV_QUEUE_QUEUE_TABLE_H_
