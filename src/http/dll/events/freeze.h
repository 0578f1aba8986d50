// Freezing events: nothing is delivered, and socket notifications are remembered for later.
#ifndef QV_EVENTS_FREEZE_H_
#define QV_EVENTS_FREEZE_H_

namespace qv {

struct Session;

// Freezes a session that has notifications, or thaws it: what was remembered is posted again. A
// session without notifications is never frozen; while an event is delivered nothing changes.
void FreezeEvents(Session& session, bool freeze);

// Keeps events of one session back while it lives, when the session has a notification window.
class SessionFreeze {
 public:
  explicit SessionFreeze(Session& session);
  ~SessionFreeze();
  SessionFreeze(const SessionFreeze&) = delete;
  SessionFreeze& operator=(const SessionFreeze&) = delete;

 private:
  Session& session_;
  bool frozen_before_;
};

// Freezes the other sessions of the thread while one of them may dispatch messages or must not be
// re-entered. Nested; the outermost end thaws them, also when the session is gone by then.
class ThreadFreeze {
 public:
  explicit ThreadFreeze(Session& session);
  ~ThreadFreeze();
  ThreadFreeze(const ThreadFreeze&) = delete;
  ThreadFreeze& operator=(const ThreadFreeze&) = delete;

 private:
  Session& session_;
  bool active_;
};

// Keeps the number of sessions with a notification window: without any there is nothing to freeze.
void CountNotifyingSessions(int change);

}  // namespace qv

#endif  // QV_EVENTS_FREEZE_H_
