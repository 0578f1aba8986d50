#include "tasks/task.h"

#include <utility>

#include "frame/library.h"
#include "frame/session.h"
#include "protocol/transfer_counters.h"

namespace qv {

Task::Task(DWORD id, HTTPEVENTPROC callback, DWORD_PTR parameter)
    : id_(id),
      callback_(callback),
      parameter_(parameter != 0 ? parameter : id),
      start_tick_(GetTickCount()) {}

void Task::Finish(Error error) {
  error_ = error.code();
  end_tick_ = TransferCounters::Now();
}

DWORD Task::Elapsed() const {
  const DWORD end = end_tick_;
  return (end != 0 ? end : GetTickCount()) - start_tick_;
}

void Task::SetSession(SessionRef session) {
  {
    LibraryLock lock;
    session_.swap(session);
  }
  session.reset();  // what it was before goes without the lock
}

SessionRef Task::session() const {
  LibraryLock lock;
  return session_;
}

void Task::SetConnecting(SessionRef session) {
  LibraryLock lock;
  connecting_.swap(session);
  if (connecting_ && cancelled_) connecting_->operation.cancel = true;
}

void Task::Cancel() {
  LibraryLock lock;
  cancelled_ = true;
  for (const SessionRef& session : {session_, connecting_}) {
    if (session) session->operation.cancel = true;
  }
}

void Task::Abandon() {
  abandoned_ = true;
  Cancel();
  for (const SessionRef& session : SessionTable::Get().OwnedByThread(worker_.id())) {
    session->operation.cancel = true;
  }
}

void Task::Call(HCLIENT session, UINT event, DWORD error) {
  if (callback_ == nullptr) return;
  ++callback_depth_;  // before the look at the mark, so that who sets it knows of the call
  if (!abandoned_) callback_(session, event, error, parameter_);
  --callback_depth_;
}

}  // namespace qv
