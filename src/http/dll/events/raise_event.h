// Delivery of events to the application.
#ifndef QV_EVENTS_RAISE_EVENT_H_
#define QV_EVENTS_RAISE_EVENT_H_

#include "events/event_state.h"
#include "frame/error.h"

namespace qv {

struct Session;

// Calls what is registered for the event, in the calling thread; the callback may close the session
// (Session::Alive). A nonzero error is also stored in the thread's error slot before the call.
void RaiseEvent(Session& session, Event event, Error error);

}  // namespace qv

#endif  // QV_EVENTS_RAISE_EVENT_H_
