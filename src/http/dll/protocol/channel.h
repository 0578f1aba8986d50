// The byte stream to the peer. The engine above does not know whether it is plain or secure.
#ifndef QV_PROTOCOL_CHANNEL_H_
#define QV_PROTOCOL_CHANNEL_H_

#include "frame/error.h"

namespace qv {

class SecurityContext;
struct Session;

// A channel waits no longer than the session's time-out, honours HttpCancel and raises the events
// of both; it does not touch the transfer counters or the receive buffer.
class Channel {
 public:
  virtual ~Channel() = default;

  // Receives at least one byte into a buffer of `size` bytes; the count, or 0 at the peer's end.
  virtual Result<INT> Receive(Session& session, void* buffer, INT size) = 0;

  // Sends at least one byte; the count, which may be less than `size`.
  virtual Result<INT> Send(Session& session, const void* data, INT size) = 0;

  // Bytes that a receive would deliver without asking the socket.
  virtual DWORD Pending() const = 0;

  // Whether anything was received that is not delivered yet, even if it is no use by itself.
  virtual bool HasBuffered() { return false; }

  // Whether there is something to deliver, or the peer's end. Looks, and does not wait.
  virtual bool HasInput(Session& session) = 0;

  // Takes leave of the peer, without waiting for it; the socket is closed next.
  virtual void End() {}

  // The TLS connection of the channel; NULL for a plain one.
  virtual SecurityContext* security() { return nullptr; }
};

}  // namespace qv

#endif  // QV_PROTOCOL_CHANNEL_H_
