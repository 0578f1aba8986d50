#include "events/notification_window.h"

#include "events/freeze.h"
#include "events/window_table.h"
#include "frame/session.h"
#include "transport/socket.h"
#include "transport/socket_binding.h"

namespace qv {
namespace {

constexpr UINT kNotificationMessage = 9215;
constexpr DWORD kSocketEvents =
    static_cast<DWORD>(Event::kConnect) | static_cast<DWORD>(Event::kDisconnect) |
    static_cast<DWORD>(Event::kRead) | static_cast<DWORD>(Event::kWrite);
constexpr LONG kConnectedNotifications = ws2::kFdRead | ws2::kFdWrite | ws2::kFdClose;

bool HasSocket(const Session& session) { return session.connection.socket != ws2::kInvalidSocket; }

Error StartNotifications(Session& session) {
  if (!HasSocket(session)) return kNoError;
  EventState& events = session.events;
  events.announced = false;  // the layer drops what is on its way
  const LONG wanted =
      kConnectedNotifications | (session.connection.connected ? 0 : ws2::kFdConnect);
  const int result = RequestNotifications(session.connection.socket, events.notification_window,
                                          events.notification_message, wanted);
  return result == 0 ? kNoError : SocketError();
}

void StopNotifications(Session& session) {
  session.events.announced = false;
  if (!HasSocket(session)) return;
  RequestNotifications(session.connection.socket, session.events.notification_window, 0, 0);
  SetBlocking(session.connection.socket, true);
}

void DetachWindow(Session& session) {
  EventState& events = session.events;
  if (events.notification_window == nullptr) return;
  if (events.Notifies()) StopNotifications(session);
  UnsubclassWindow(events.notification_window);
  events.notification_window = nullptr;
  events.notification_message = 0;
  events.pending = 0;
  events.frozen = false;
  CountNotifyingSessions(-1);
}

Error AttachWindow(Session& session, HWND window) {
  if (GetWindowThreadProcessId(window, nullptr) != session.owner) return QV_ERROR_NOT_HANDLE_OWNER;
  SubclassWindow(window);
  session.events.notification_window = window;
  session.events.notification_message = kNotificationMessage;
  CountNotifyingSessions(1);
  if (!session.events.Notifies()) return kNoError;
  if (Error error = StartNotifications(session)) {
    DetachWindow(session);
    return error;
  }
  AnnounceBuffered(session);
  return kNoError;
}

// Whether bytes were received that a read would deliver: those of a body or of a response that is
// still to be read, or of a plain stream.
bool HoldsInput(const Session& session) {
  const Connection& connection = session.connection;
  const ResponseState& response = session.response;
  const bool body_follows = session.request.open && !response.framing.complete;
  if (!response.pending && !body_follows && connection.used) return false;
  if (!connection.input.empty()) return true;
  return connection.channel != nullptr && connection.channel->HasBuffered();
}

}  // namespace

Error CheckEventWindow(HWND window, UINT message) {
  return IsWindow(window) && message >= WM_USER ? kNoError : Error(QV_ERROR_INVALID_PARAMETER);
}

Error EnableEvents(Session& session, HWND window, UINT message, DWORD mask) {
  if (Error error = CheckEventWindow(window, message)) return error;
  EventState& events = session.events;
  if (events.notification_window == nullptr && (mask & kSocketEvents) != 0) {
    if (events.dispatching) return QV_ERROR_OPERATION_IN_PROGRESS;
    if (Error error = AttachWindow(session, window)) return error;
  }
  events.application_window = window;
  events.application_message = message;
  events.mask = mask;
  return kNoError;
}

Error DisableEvents(Session& session) {
  EventState& events = session.events;
  if (events.notification_window != nullptr && events.dispatching) {
    return QV_ERROR_OPERATION_IN_PROGRESS;
  }
  DetachWindow(session);
  events.callbacks.fill({});
  events.application_window = nullptr;
  events.application_message = 0;
  events.mask = 0;
  return kNoError;
}

void EndEvents(Session& session) {
  session.events.dispatching = false;
  DetachWindow(session);
}

void ForgetWindow(HWND window) {
  while (const SessionRef session = SessionTable::Get().FindByWindow(window)) {
    DetachWindow(*session);
    if (session->events.application_window == window) session->events.application_window = nullptr;
  }
}

void RenewNotifications(Session& session) {
  if (!session.events.Notifies()) return;
  static_cast<void>(StartNotifications(session));
  AnnounceBuffered(session);
}

void AnnounceData(Session& session) {
  EventState& events = session.events;
  if (!events.Notifies() || events.announced || !HasSocket(session)) return;
  events.announced = PostMessageA(events.notification_window, events.notification_message,
                                  static_cast<WPARAM>(session.connection.socket),
                                  PackNotification(ws2::kFdRead, 0)) != FALSE;
}

void AnnounceBuffered(Session& session) {
  if (HoldsInput(session)) AnnounceData(session);
}

NotificationPause::NotificationPause(Session& session) : session_(session) {
  if (session_.events.Notifies()) StopNotifications(session_);
  ++session_.events.pauses;
  session_.events.pending &= ws2::kFdConnect;  // the rest is posted anew at the end
}

NotificationPause::~NotificationPause() {
  --session_.events.pauses;
  if (session_.Alive()) RenewNotifications(session_);
}

}  // namespace qv
