#include "events/raise_event.h"

#include <bit>

#include "events/freeze.h"
#include "frame/error_slot.h"
#include "frame/session.h"

namespace qv {
namespace {

constexpr int kErrorShift = 16;  // lParam: the event below, the low half of its error above
constexpr DWORD kErrorMask = 0xFFFF;

void Call(Session& session, DWORD event, Error error) {
  const auto slot = static_cast<std::size_t>(std::bit_width(event) - 1);
  const EventCallback callback = session.events.callbacks[slot];
  if (callback.procedure != nullptr) {
    callback.procedure(session.handle, event, error.code(), callback.parameter);
  }
}

void Send(Session& session, DWORD event, Error error) {
  const HWND window = session.events.application_window;
  if (window == nullptr || !session.Alive()) return;
  const DWORD packed = event | (error.code() & kErrorMask) << kErrorShift;
  SendMessageA(window, session.events.application_message, static_cast<WPARAM>(session.handle),
               static_cast<LPARAM>(packed));
}

// Spans the delivery of one event, also when the callback leaves it with an exception. Nothing of a
// session that was closed meanwhile is touched.
class Delivery {
 public:
  explicit Delivery(Session& session) : session_(session), nested_(session.events.dispatching) {
    FreezeEvents(session_, true);
    session_.events.dispatching = true;
  }
  ~Delivery() {
    if (!session_.Alive()) return;
    session_.events.dispatching = nested_;
    FreezeEvents(session_, false);
  }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

 private:
  Session& session_;
  bool nested_;
};

}  // namespace

void RaiseEvent(Session& session, Event event, Error error) {
  const auto bit = static_cast<DWORD>(event);
  const EventState& events = session.events;
  if ((events.mask & bit) == 0 || events.frozen || !session.Alive()) return;
  const Delivery delivery(session);
  if (error) SetLastError(error);
  Call(session, bit, error);
  Send(session, bit, error);
}

}  // namespace qv
