// Waiting for tasks, ending them, and looking at them from outside.
#ifndef QV_TASKS_STEERING_H_
#define QV_TASKS_STEERING_H_

#include <vector>

#include "tasks/task.h"

namespace qv {

// What a wait for a task tells.
struct TaskOutcome {
  bool ended = false;
  DWORD elapsed_ms = 0;
  Error error;
};

// The contract of HttpTaskWait.
Result<TaskOutcome> WaitForTask(DWORD id, DWORD timeout_ms);

// Waits until all of the tasks (or one of them) have ended; false when the time is over. Unknown
// tasks and the calling thread's own do not count.
bool WaitForAllTasks(const std::vector<DWORD>& ids, DWORD timeout_ms);
bool WaitForAnyTask(const std::vector<DWORD>& ids, DWORD timeout_ms);

// The contract of HttpTaskAbort.
Result<BOOL> AbortTask(DWORD id, DWORD timeout_ms);

// The contracts of HttpTaskSuspend and HttpTaskResume.
Error SuspendTask(DWORD id);
Error ResumeTask(DWORD id);

// Ends every task; the end of the library. No callback is called any more. Workers get time to
// close what they have open, and a thread that does not come back is terminated. Called on a
// worker, it leaves that one running.
void AbortAllTasks();

}  // namespace qv

#endif  // QV_TASKS_STEERING_H_
