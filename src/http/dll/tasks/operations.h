// The operations of tasks.
#ifndef QV_TASKS_OPERATIONS_H_
#define QV_TASKS_OPERATIONS_H_

#include "tasks/task_request.h"

namespace qv {

// Runs the request's operation on a session of the calling thread, as the exported function of that
// name does: its result, and HTTP_ERROR with the reason in the error slot.
INT RunOperation(HCLIENT session, TaskRequest& request);

// Whether the task's callback hears of the operation's progress.
bool ReportsProgress(TaskOperation operation);

}  // namespace qv

#endif  // QV_TASKS_OPERATIONS_H_
