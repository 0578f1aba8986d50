// The window to which the platform posts a session's socket notifications.
#ifndef QV_EVENTS_NOTIFICATION_WINDOW_H_
#define QV_EVENTS_NOTIFICATION_WINDOW_H_

#include "frame/error.h"
#include "platform/user32.h"

namespace qv {

struct Session;

// QV_ERROR_INVALID_PARAMETER unless the window exists and the message is free for applications.
Error CheckEventWindow(HWND window, UINT message);

// Enables the events of `mask` by messages to a window; socket events make it the notification
// window, too, unless the session has one.
Error EnableEvents(Session& session, HWND window, UINT message, DWORD mask);

// Forgets callbacks, windows and mask.
Error DisableEvents(Session& session);

// Ends the notifications of a session that is being released.
void EndEvents(Session& session);

// Detaches a window that is being destroyed from the sessions of the calling thread.
void ForgetWindow(HWND window);

// The events are handed over to the notification window again after a connect, which has changed
// what can happen to the socket.
void RenewNotifications(Session& session);

// Posts a read notification of the library's own, unless one is on its way or the session has no
// notifications now.
void AnnounceData(Session& session);

// The same when bytes are at hand that the platform will not announce any more, because they were
// taken from the socket: in the receive buffer or in records of a secure channel.
void AnnounceBuffered(Session& session);

// Keeps a session in blocking mode, without notifications, for an operation that moves bytes. The
// socket may be another one at its end, and a window may have come. What is true of the socket then
// is posted anew.
class NotificationPause {
 public:
  explicit NotificationPause(Session& session);
  ~NotificationPause();
  NotificationPause(const NotificationPause&) = delete;
  NotificationPause& operator=(const NotificationPause&) = delete;

 private:
  Session& session_;
};

}  // namespace qv

#endif  // QV_EVENTS_NOTIFICATION_WINDOW_H_
