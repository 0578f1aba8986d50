// The events of a session and what the application registered for them.
#ifndef QV_EVENTS_EVENT_STATE_H_
#define QV_EVENTS_EVENT_STATE_H_

#include <array>

#include "platform/user32.h"
#include "qvhttp12.h"

namespace qv {

// Event bits; the position of the bit is the event's callback slot.
enum class Event : DWORD {
  kConnect = 0x1,
  kDisconnect = 0x2,
  kRead = 0x4,
  kWrite = 0x8,
  kTimeout = 0x10,
  kCancel = 0x20,
  kCommand = 0x40,
  kProgress = 0x80,
  kRedirect = 0x100,
  kFileOpen = 0x400,
  kUpload = 0x800,
};

inline constexpr int kEventSlots = 12;

struct EventCallback {
  HTTPEVENTPROC procedure = nullptr;
  DWORD_PTR parameter = 0;
};

struct EventState {
  DWORD mask = 0;  // events that are delivered
  std::array<EventCallback, kEventSlots> callbacks{};
  HWND application_window = nullptr;  // is sent application_message for each event
  UINT application_message = 0;

  HWND notification_window = nullptr;  // subclassed; the platform posts socket notifications to it
  UINT notification_message = 0;
  int pauses = 0;            // nested NotificationPause
  bool announced = false;    // a read notification of the library's own is on its way
  DWORD pending = 0;         // notifications (ws2::kFd...) that came while frozen
  DWORD connect_error = 0;   // number of the socket error that came with a pending connect
  bool frozen = false;       // nothing is delivered
  bool dispatching = false;  // an event is being delivered
  int thread_freezes = 0;    // nested ThreadFreeze of which this session is the origin

  // Whether the platform posts the socket's notifications now; the socket is then non-blocking.
  bool Notifies() const { return notification_window != nullptr && pauses == 0; }
};

// The lParam of a notification message: the notification below, the number of its error above.
inline constexpr int kNotificationBits = 16;
constexpr LPARAM PackNotification(LONG notification, DWORD socket_error) {
  return static_cast<LPARAM>(static_cast<DWORD>(notification) | socket_error << kNotificationBits);
}

}  // namespace qv

#endif  // QV_EVENTS_EVENT_STATE_H_
