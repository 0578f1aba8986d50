// The worker of a running queue: a thread that transfers its files one after the other.
#ifndef QV_QUEUE_WORKER_H_
#define QV_QUEUE_WORKER_H_

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

// The contract of HttpStartQueue.
Error StartQueue(HQUEUE handle, DWORD type, DWORD reserved, HTTPEVENTPROC procedure,
                 DWORD_PTR parameter);

}  // namespace qv

#endif  // QV_QUEUE_WORKER_H_
