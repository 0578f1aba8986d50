#include "events/freeze.h"

#include <atomic>

#include "frame/session.h"

namespace qv {
namespace {

std::atomic<int> notifying_sessions{0};

// The order in which remembered notifications are posted again.
constexpr LONG kReplayOrder[] = {ws2::kFdAccept, ws2::kFdConnect, ws2::kFdClose,
                                 ws2::kFdRead,   ws2::kFdWrite,   ws2::kFdOutOfBand};

void ReplayPending(Session& session) {
  EventState& events = session.events;
  for (const LONG notification : kReplayOrder) {
    if ((events.pending & static_cast<DWORD>(notification)) == 0) continue;
    const DWORD error = notification == ws2::kFdConnect ? events.connect_error : 0;
    PostMessageA(events.notification_window, events.notification_message,
                 static_cast<WPARAM>(session.connection.socket),
                 PackNotification(notification, error));
  }
  events.pending = 0;
}

void FreezeOthers(const Session& session, bool freeze) {
  std::size_t slot = 0;
  while (const SessionRef other = SessionTable::Get().NextOwn(slot)) {
    if (other.get() != &session) FreezeEvents(*other, freeze);
  }
}

}  // namespace

void FreezeEvents(Session& session, bool freeze) {
  EventState& events = session.events;
  const bool can_freeze = events.Notifies() && session.connection.socket != ws2::kInvalidSocket;
  if (can_freeze && events.dispatching) return;
  if (can_freeze && events.frozen && !freeze) ReplayPending(session);
  events.frozen = freeze && can_freeze;
}

SessionFreeze::SessionFreeze(Session& session)
    : session_(session), frozen_before_(session.events.frozen) {
  if (session_.events.notification_window != nullptr) session_.events.frozen = true;
}

SessionFreeze::~SessionFreeze() {
  EventState& events = session_.events;
  events.frozen = frozen_before_ && events.notification_window != nullptr;
}

ThreadFreeze::ThreadFreeze(Session& session)
    : session_(session), active_(!session.events.frozen && notifying_sessions > 0) {
  if (!active_) return;
  ++session_.events.thread_freezes;
  FreezeOthers(session_, true);
}

ThreadFreeze::~ThreadFreeze() {
  if (active_ && --session_.events.thread_freezes == 0) FreezeOthers(session_, false);
}

void CountNotifyingSessions(int change) { notifying_sessions += change; }

}  // namespace qv
