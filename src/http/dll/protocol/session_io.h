// Moving bytes through a session's channel and receive buffer.
#ifndef QV_PROTOCOL_SESSION_IO_H_
#define QV_PROTOCOL_SESSION_IO_H_

#include <cstddef>
#include <string_view>

#include "frame/error.h"

namespace qv {

struct Session;

// The largest piece in which bodies are read and written: what the priority pause follows, and the
// most that one call moves.
inline constexpr std::size_t kPieceSize = 16384;

// QV_ERROR_CONNECTION_CLOSED when nothing can be read or written any more.
Error CheckOpen(const Session& session);

// Makes sure that the receive buffer holds something: the bytes waiting in it, 0 when the peer has
// closed the connection (which sets the peer-closed flag).
Result<INT> FillInput(Session& session);

// Receives at least one more byte behind those that wait in the receive buffer, which must have
// room: the count, 0 as above.
Result<INT> FillMore(Session& session);

// Reads at least one byte: from the receive buffer, or straight into a large buffer when that is
// empty. 0 when the peer has closed the connection.
Result<std::size_t> ReadSome(Session& session, char* buffer, std::size_t size);

// Sends at least one byte.
Result<INT> WriteSome(Session& session, const void* data, INT size);

// Sends everything.
Error WriteAll(Session& session, std::string_view bytes);

// Whether the connection has something to say that no request asked for: left-over bytes of an
// earlier response, or the peer's end. Looks, and does not wait.
bool HasUnaskedInput(Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_SESSION_IO_H_
