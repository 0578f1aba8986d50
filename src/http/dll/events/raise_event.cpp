#include "events/raise_event.h"

#include <bit>

#include "frame/error_slot.h"
#include "frame/session.h"

namespace qv {

void RaiseEvent(Session& session, Event event, Error error) {
  const auto bit = static_cast<DWORD>(event);
  if ((session.events.mask & bit) == 0 || !session.Alive()) return;
  if (error) SetLastError(error);
  const auto slot = static_cast<std::size_t>(std::bit_width(bit) - 1);
  const EventCallback callback = session.events.callbacks[slot];
  if (callback.procedure != nullptr) {
    callback.procedure(session.handle, bit, error.code(), callback.parameter);
  }
}

}  // namespace qv
