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

}  // namespace

void RaiseEvent(Session& session, Event event, Error error) {
  const auto bit = static_cast<DWORD>(event);
  EventState& events = session.events;
  if ((events.mask & bit) == 0 || events.frozen || !session.Alive()) return;
  const bool nested = events.dispatching;
  FreezeEvents(session, true);
  events.dispatching = true;
  if (error) SetLastError(error);
  Call(session, bit, error);
  Send(session, bit, error);
  if (!session.Alive()) return;
  events.dispatching = nested;
  FreezeEvents(session, false);
}

}  // namespace qv
