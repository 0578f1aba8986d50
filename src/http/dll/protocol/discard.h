// Discards the rest of a response so that the connection can carry the next request.
#ifndef QV_PROTOCOL_DISCARD_H_
#define QV_PROTOCOL_DISCARD_H_

namespace qv {

struct Session;

// Reads what is left of the body, up to 256 KiB and without waiting longer than 250 ms for more.
// What cannot be discarded that way marks the connection as not reusable. Raises no events.
void DiscardBody(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_DISCARD_H_
