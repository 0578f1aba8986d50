// Connecting a session's socket.
#ifndef QV_PROTOCOL_CONNECTOR_H_
#define QV_PROTOCOL_CONNECTOR_H_

#include "frame/error.h"
#include "transport/socket.h"

namespace qv {

struct Session;

// How a connect is made.
struct ConnectManner {
  ReadyFor watch = ReadyFor::kConnect;  // with kWrite, a refused connect ends as a time-out
  int protocol = 6;                     // of the socket: TCP, or 0 for the family's default
  HWND window = nullptr;                // of a connect in the background (HttpAsyncConnect)
  UINT message = 0;
};

// Creates a stream socket and connects it to the session's remote address (or its proxy's) within
// the time-out; on success the session has a channel and is idle. With a window, whose events are
// enabled, the connect goes on in the background.
Error ConnectSocketOf(Session& session, const ConnectManner& manner);

// Closes the connection and makes it anew to where the session leads now. On failure the session is
// released.
Error ReconnectSession(Session& session, const ConnectManner& manner);

// Ends a connect that went on in the background: raises the event, and releases the session when it
// failed.
void CompleteConnect(Session& session, Error error);

}  // namespace qv

#endif  // QV_PROTOCOL_CONNECTOR_H_
