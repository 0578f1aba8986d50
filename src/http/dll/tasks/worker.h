// What runs on a task's thread, and starting it.
#ifndef QV_TASKS_WORKER_H_
#define QV_TASKS_WORKER_H_

#include "frame/error.h"
#include "tasks/task_request.h"

namespace qv {

// Starts a task for the request; its id. QV_ERROR_TOO_MANY_THREADS,
// QV_ERROR_THREAD_CREATION_FAILED, QV_ERROR_NETWORK_NOT_INITIALIZED. Gives the worker a moment (50
// ms) to connect before it returns.
Result<DWORD> StartTask(TaskRequest request);

}  // namespace qv

#endif  // QV_TASKS_WORKER_H_
