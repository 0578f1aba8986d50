// What controls the run of a queue.
#ifndef QV_QUEUE_CONTROL_H_
#define QV_QUEUE_CONTROL_H_

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

// The contract of HttpDeleteQueue.
Error DeleteQueue(HQUEUE handle);

// How a wait for a queue ended.
struct QueueWait {
  bool ended = false;  // the run is over
  Error error;         // why it is not, if there is a reason
  DWORD elapsed = 0;   // ms
  Error last_error;    // of the last file
};

// The contract of HttpWaitForQueue; the Result fails with what keeps the call from waiting at all.
Result<QueueWait> WaitForQueue(HQUEUE handle, DWORD timeout);

}  // namespace qv

#endif  // QV_QUEUE_CONTROL_H_
