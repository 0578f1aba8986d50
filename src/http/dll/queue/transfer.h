// The transfer of one queued file, with a session of its own.
#ifndef QV_QUEUE_TRANSFER_H_
#define QV_QUEUE_TRANSFER_H_

#include <cstdint>

#include "events/event_state.h"
#include "queue/queue.h"

namespace qv {

struct TransferOutcome {
  Error error;
  uint64_t bytes = 0;
};

// Connects, authenticates, moves the file and disconnects, in the worker's thread. Progress goes to
// the callback, which may do anything, also to the queue and to the session.
TransferOutcome TransferQueuedFile(Queue& queue, const QueuedFile& file,
                                   const EventCallback& callback);

}  // namespace qv

#endif  // QV_QUEUE_TRANSFER_H_
