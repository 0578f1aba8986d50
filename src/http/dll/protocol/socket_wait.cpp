#include "protocol/socket_wait.h"

#include <algorithm>

#include "events/raise_event.h"
#include "platform/kernel32.h"
#include "platform/ws2_32.h"

namespace qv {
namespace {

constexpr DWORD kMillisecondsPerSecond = 1000;
constexpr DWORD kMicrosecondsPerMillisecond = 1000;

ws2::TimeVal TimeOf(DWORD milliseconds) {
  return {static_cast<LONG>(milliseconds / kMillisecondsPerSecond),
          static_cast<LONG>(milliseconds % kMillisecondsPerSecond * kMicrosecondsPerMillisecond)};
}

// The wait is over before its event is raised: the callback sees an idle session.
void EndWait(OperationState& operation) {
  operation.blocking = false;
  for (INT waiting : {HTTP_STATUS_READ, HTTP_STATUS_WRITE}) {
    operation.status.compare_exchange_strong(waiting, HTTP_STATUS_IDLE);
  }
}

}  // namespace

WaitLimit::WaitLimit(INT timeout) : limited_(timeout != 0), start_tick_(GetTickCount()) {
  if (timeout == kDrainTimeout) {
    limit_ms_ = kDrainTimeoutMs;
  } else if (timeout > 0) {
    limit_ms_ = static_cast<DWORD>(timeout) * kMillisecondsPerSecond;
  }
  whole_ = TimeOf(limit_ms_);
}

bool WaitLimit::Passed() const { return limited_ && GetTickCount() - start_tick_ >= limit_ms_; }

ws2::TimeVal WaitLimit::NextSlice() const {
  if (!limited_) return TimeOf(kWaitSliceMs);
  const DWORD elapsed = GetTickCount() - start_tick_;
  return TimeOf(elapsed >= limit_ms_ ? 0 : std::min(kWaitSliceMs, limit_ms_ - elapsed));
}

BlockingScope::BlockingScope(OperationState& operation, INT status)
    : operation_(operation), status_(status) {
  operation_.blocking = true;
  INT idle = HTTP_STATUS_IDLE;
  operation_.status.compare_exchange_strong(idle, status_);
}

BlockingScope::~BlockingScope() {
  operation_.blocking = false;
  operation_.status.compare_exchange_strong(status_, HTTP_STATUS_IDLE);
}

Error CheckWait(Session& session, const WaitLimit& limit) {
  if (Error error = session.CheckAlive()) return error;
  if (session.operation.cancel) {
    EndWait(session.operation);
    RaiseEvent(session, Event::kCancel, QV_ERROR_OPERATION_CANCELED);
    return QV_ERROR_OPERATION_CANCELED;
  }
  if (limit.Passed()) {
    EndWait(session.operation);
    RaiseEvent(session, Event::kTimeout, QV_ERROR_OPERATION_TIMEOUT);
    return QV_ERROR_OPERATION_TIMEOUT;
  }
  return kNoError;
}

Error AwaitReady(Session& session, ReadyFor condition, const WaitLimit& limit) {
  while (true) {
    const ws2::TimeVal slice = limit.NextSlice();
    const ReadyResult ready = WaitSocket(session.connection.socket, condition, &slice);
    if (ready.count != 0) TraceWait(condition, limit.whole(), ready.count);
    if (ready.count < 0) return SocketError();
    if (ready.count > 0) return kNoError;
    if (Error error = CheckWait(session, limit)) {
      TraceWait(condition, limit.whole(), 0);
      return error;
    }
  }
}

bool SliceRanOut(int socket_error) {
  return socket_error == ws2::kErrorTimedOut || socket_error == ws2::kErrorWouldBlock;
}

}  // namespace qv
