#include "events/window_procedure.h"

#include <optional>

#include "events/freeze.h"
#include "events/notification_window.h"
#include "events/raise_event.h"
#include "events/window_table.h"
#include "frame/boundary.h"
#include "frame/session.h"
#include "protocol/connector.h"
#include "protocol/engine.h"
#include "protocol/session_io.h"
#include "transport/socket_binding.h"

namespace qv {
namespace {

constexpr LPARAM kNotificationMask = 0xFFFF;
constexpr DWORD kFirstSocketError = 10001;

// Data has come: first of all the response that a command left unread.
void DataHasCome(Session& session) {
  if (session.response.pending && !session.request.streaming) {
    if (CheckOpen(session) || !HasUnaskedInput(session)) return;  // session tickets, for example
    OperationScope operation(session.operation);
    if (const Error error = session.engine->ReadResponse(session)) SetLastError(error);
  }
  if (session.Alive() && !session.connection.peer_closed) {
    RaiseEvent(session, Event::kRead, kNoError);
  }
}

void Deliver(Session& session, LONG notification, Error error) {
  switch (notification) {
    case ws2::kFdRead:
      return DataHasCome(session);
    case ws2::kFdWrite:
      return RaiseEvent(session, Event::kWrite, kNoError);
    case ws2::kFdClose:
      return RaiseEvent(session, Event::kDisconnect, kNoError);
    case ws2::kFdConnect:
      return CompleteConnect(session, error);
    default:
      return;
  }
}

// Whether the message is a notification for a session of the calling thread.
bool HandleNotification(UINT message, WPARAM socket, LPARAM lparam) {
  if (socket == static_cast<WPARAM>(ws2::kInvalidSocket)) return false;
  const SessionRef session = SessionTable::Get().FindBySocket(static_cast<ws2::Socket>(socket));
  if (!session) return false;
  EventState& events = session->events;
  if (events.notification_window == nullptr || message != events.notification_message) return false;
  // What is still true when the pause ends is posted again then.
  if (!events.Notifies()) return true;
  const auto notification = static_cast<LONG>(lparam & kNotificationMask);
  const auto number = static_cast<DWORD>(lparam >> kNotificationBits & kNotificationMask);
  if (notification == ws2::kFdRead) events.announced = false;
  std::optional<ThreadFreeze> freeze_others;
  if (session->Has(HTTP_OPTION_SECURE)) freeze_others.emplace(*session);
  if (events.frozen) {
    events.pending |= static_cast<DWORD>(notification);
    if (notification == ws2::kFdConnect) events.connect_error = number;
    return true;
  }
  const Error error = number >= kFirstSocketError ? ErrorFromPlatform(number) : kNoError;
  if (error) SetLastError(error);
  Deliver(*session, notification, error);
  return true;
}

}  // namespace

LRESULT CALLBACK LibraryWindowProcedure(HWND window, UINT message, WPARAM wparam,
                                        LPARAM lparam) noexcept {
  const std::optional<WNDPROC> previous = PreviousProcedure(window);
  if (!previous) return 0;
  // What a callback has thrown ends here; the notification was the library's own all the same.
  const bool handled = message >= WM_USER && Boundary<bool>(true, [&]() -> Result<bool> {
                         return HandleNotification(message, wparam, lparam);
                       });
  if (handled) return 0;
  if (message == WM_NCDESTROY) ForgetWindow(window);
  return CallWindowProcA(*previous, window, message, wparam, lparam);
}

}  // namespace qv
