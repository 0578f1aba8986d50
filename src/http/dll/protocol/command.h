// The one way in which every request of an HTTP/1 session is sent.
#ifndef QV_PROTOCOL_COMMAND_H_
#define QV_PROTOCOL_COMMAND_H_

#include "frame/error.h"
#include "protocol/engine.h"

namespace qv {

// Sends a command and reads its response header; the contract of HttpCommand.
Result<INT> SendCommand(Session& session, const CommandArguments& arguments);

// Sends the command of a redirected request again: its parameters are encoded already, and the
// count of redirects goes on.
Result<INT> ResendCommand(Session& session, const CommandArguments& arguments);

}  // namespace qv

#endif  // QV_PROTOCOL_COMMAND_H_
