// The edge of the queue functions that are bookkeeping alone.
#ifndef QV_QUEUE_QUEUE_BOUNDARY_H_
#define QV_QUEUE_QUEUE_BOUNDARY_H_

#include "frame/boundary.h"
#include "frame/library.h"
#include "queue/queue_table.h"

namespace qv {

// Runs body(Queue&) -> Result<T> under the library lock.
template <class T, class Body>
T QueueBoundary(HQUEUE handle, T failure, Body&& body) noexcept {
  return Boundary<T>(failure, [&]() -> Result<T> {
    LibraryLock lock;
    Result<QueueRef> queue = QueueTable::Get().Find(handle);
    if (!queue) return queue.error();
    return body(**queue);
  });
}

// The same for functions that succeed or not: body(Queue&) -> Error.
template <class Body>
BOOL QueueAction(HQUEUE handle, Body&& body) noexcept {
  return QueueBoundary<BOOL>(handle, FALSE, [&](Queue& queue) -> Result<BOOL> {
    if (Error error = body(queue)) return error;
    return TRUE;
  });
}

}  // namespace qv

#endif  // QV_QUEUE_QUEUE_BOUNDARY_H_
