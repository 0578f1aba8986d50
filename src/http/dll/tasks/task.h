// A task: one transfer on a worker thread of its own, as other threads see it.
#ifndef QV_TASKS_TASK_H_
#define QV_TASKS_TASK_H_

#include <atomic>
#include <memory>

#include "frame/session_table.h"
#include "frame/worker_thread.h"

namespace qv {

class Task {
 public:
  // A parameter of 0 stands for the task's id.
  Task(DWORD id, HTTPEVENTPROC callback, DWORD_PTR parameter);

  DWORD id() const { return id_; }
  WorkerThread& worker() { return worker_; }

  // ---- Progress of the worker ----

  // The worker has connected (or failed to) and told the callback.
  void SetUnderWay() { under_way_ = true; }
  bool under_way() const { return under_way_; }

  // From Finish on the outcome is there to be read; the worker still has its completion callback
  // and its session to close.
  void SetFinalStatus(const HTTPTRANSFERSTATUSEX& status) { final_status_ = status; }
  void Finish(Error error);
  bool Ended() const { return end_tick_ != 0; }
  Error error() const { return error_.load(); }
  const HTTPTRANSFERSTATUSEX& final_status() const { return final_status_; }  // after the end

  // Milliseconds from the start to the end, or to now; and from the end to `now`, 0 where `now` was
  // taken shortly before it.
  DWORD Elapsed() const;
  DWORD SinceEnd(DWORD now) const {
    constexpr DWORD kShortlyMs = 60000;
    const DWORD end = end_tick_;
    return end - now < kShortlyMs ? 0 : now - end;
  }

  // ---- The task's session ----

  // NULL before it is connected and after the task has closed it.
  void SetSession(SessionRef session);
  SessionRef session() const;

  // The session that is to become it, from its creation on; NULL when the connect is over.
  void SetConnecting(SessionRef session);

  // ---- Ending it early ----

  // Makes the worker's operation fail with QV_ERROR_OPERATION_CANCELED.
  void Cancel();
  bool cancelled() const { return cancelled_; }

  // The library ends: no callback is called any more, and every session of the worker is cancelled,
  // those that a callback has opened included.
  void Abandon();
  bool abandoned() const { return abandoned_; }

  // ---- The application's callback ----

  bool HasCallback() const { return callback_ != nullptr; }
  void Call(HCLIENT session, UINT event, DWORD error);
  bool InCallback() const { return callback_depth_ != 0; }

 private:
  const DWORD id_;
  const HTTPEVENTPROC callback_;
  const DWORD_PTR parameter_;
  const DWORD start_tick_;
  WorkerThread worker_;

  SessionRef session_;  // both guarded by the library lock
  SessionRef connecting_;
  HTTPTRANSFERSTATUSEX final_status_{};
  std::atomic<DWORD> error_{0};
  std::atomic<DWORD> end_tick_{0};  // 0 = not ended
  std::atomic<bool> under_way_{false};
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> abandoned_{false};
  std::atomic<int> callback_depth_{0};
};

using TaskRef = std::shared_ptr<Task>;

}  // namespace qv

#endif  // QV_TASKS_TASK_H_
