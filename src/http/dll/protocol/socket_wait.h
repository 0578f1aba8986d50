// Waiting on a session's socket: time-out, cancellation and status in one place.
//
// Sockets are blocking, with receive and send time-outs of one slice. A receive is therefore wait
// and transfer in one system call when data is there within a slice, and otherwise comes back after
// each slice to look at the cancel request and the session's time-out. While a trace is on, wait
// and transfer are separate calls, so that each has its line.
#ifndef QV_PROTOCOL_SOCKET_WAIT_H_
#define QV_PROTOCOL_SOCKET_WAIT_H_

#include "frame/error.h"
#include "frame/session.h"
#include "transport/socket.h"
#include "transport/socket_binding.h"
#include "transport/trace.h"

namespace qv {

// How long a wait lasts before it looks around.
inline constexpr DWORD kWaitSliceMs = 100;

// The time-out value that stands for a short look for more input, and its length.
inline constexpr INT kDrainTimeout = static_cast<INT>(0xFF000000);
inline constexpr DWORD kDrainTimeoutMs = 250;

// The time-out value for a wait without limit.
inline constexpr INT kNoLimit = 0;

// The time limit of one wait.
class WaitLimit {
 public:
  // `timeout` in seconds: 0 = no limit, kDrainTimeout = 250 ms.
  explicit WaitLimit(INT timeout);

  bool Passed() const;
  // The length of the next slice, at most kWaitSliceMs.
  ws2::TimeVal NextSlice() const;
  // The whole limit for the trace log; NULL for none.
  const ws2::TimeVal* whole() const { return limited_ ? &whole_ : nullptr; }

 private:
  bool limited_;
  DWORD start_tick_;
  DWORD limit_ms_ = 0;
  ws2::TimeVal whole_{};
};

// Sets the blocking flag, and the status if the session is idle, for the time of a wait.
class BlockingScope {
 public:
  BlockingScope(OperationState& operation, INT status);
  ~BlockingScope();
  BlockingScope(const BlockingScope&) = delete;
  BlockingScope& operator=(const BlockingScope&) = delete;

 private:
  OperationState& operation_;
  INT status_;
};

// What ends a wait that has nothing to show yet: the session was closed, cancelled (with the
// event), or its limit has passed (with the event). kNoError: go on waiting.
Error CheckWait(Session& session, const WaitLimit& limit);

// Whether a socket call failed only because its slice ran out.
bool SliceRanOut(int socket_error);

// Waits until the socket is ready, as one wait in the trace log.
Error AwaitReady(Session& session, ReadyFor condition, const WaitLimit& limit);

// One try on a non-blocking socket.
template <class Move>
Result<INT> MoveAtOnce(Move&& move) {
  const int moved = move();
  if (moved >= 0) return moved;
  return SocketError();
}

// Repeats `move` (a receive or send of one slice) until it moved bytes or the wait has to end.
// A session with notifications does not wait.
template <class Move>
Result<INT> RetryUntilMoved(Session& session, INT status, Move&& move) {
  if (session.events.Notifies()) return MoveAtOnce(move);
  const WaitLimit limit(session.settings.timeout);
  BlockingScope blocking(session.operation, status);
  if (trace::Active()) {
    const auto condition = status == HTTP_STATUS_READ ? ReadyFor::kRead : ReadyFor::kWrite;
    if (Error error = AwaitReady(session, condition, limit)) return error;
  }
  while (true) {
    const int moved = move();
    if (moved >= 0) return moved;
    const int number = LastSocketError();
    if (!SliceRanOut(number)) return ErrorFromPlatform(static_cast<DWORD>(number));
    if (Error error = CheckWait(session, limit)) return error;
  }
}

}  // namespace qv

#endif  // QV_PROTOCOL_SOCKET_WAIT_H_
