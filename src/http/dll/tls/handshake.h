// The exchange of handshake messages over a session's socket.
#ifndef QV_TLS_HANDSHAKE_H_
#define QV_TLS_HANDSHAKE_H_

#include <string_view>

#include "frame/error.h"
#include "tls/record_buffer.h"
#include "tls/security_context.h"

namespace qv {

struct Session;

// A new handshake, from the first message on. What the server sent behind its last one stays in
// the buffer. QV_ERROR_INVALID_HOSTNAME (no server name), QV_ERROR_SECURITY_NOT_INITIALIZED (the
// provider refuses to begin), QV_ERROR_SECURITY_CONTEXT (the handshake failed), errors of sending,
// receiving and waiting.
Error StartHandshake(Session& session, SecurityContext& context, RecordBuffer& input);

// Another handshake that the server has asked for.
Error Renegotiate(Session& session, SecurityContext& context, RecordBuffer& input);

// Sends every byte to the socket of the session, within its time-out for each wait.
Error SendToPeer(Session& session, std::string_view bytes);

}  // namespace qv

#endif  // QV_TLS_HANDSHAKE_H_
