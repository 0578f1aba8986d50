#include "tls/handshake.h"

#include <string>

#include "frame/session.h"
#include "protocol/plain_channel.h"
#include "protocol/socket_wait.h"
#include "tls/identity.h"

namespace qv {
namespace {

// What a server may send in one handshake: certificate chains are far smaller.
constexpr std::size_t kMostBytes = std::size_t{512} * 1024;

bool GoesOn(SECURITY_STATUS status) {
  return status == SEC_I_CONTINUE_NEEDED || status == SEC_E_INCOMPLETE_MESSAGE ||
         status == SEC_I_INCOMPLETE_CREDENTIALS;
}

bool EndedTheWait(Error error) {
  return error == Error(QV_ERROR_OPERATION_TIMEOUT) || error == Error(QV_ERROR_OPERATION_CANCELED);
}

Error ReceiveMore(Session& session, RecordBuffer& input) {
  const std::span<char> space = input.PrepareFill();
  if (space.empty()) return QV_ERROR_SECURITY_CONTEXT;  // no message of a handshake is that long
  Result<INT> count = PlainChannel().Receive(session, space.data(), static_cast<INT>(space.size()));
  if (Error error = session.CheckAlive()) return error;
  // The server may as well end the connection as the handshake, and in any way.
  if (!count) return EndedTheWait(count.error()) ? count.error() : Error(QV_ERROR_SECURITY_CONTEXT);
  if (*count == 0) {
    session.connection.peer_closed = true;
    return QV_ERROR_SECURITY_CONTEXT;
  }
  input.Filled(static_cast<std::size_t>(*count));
  return kNoError;
}

// `may_read`: the next message is yet to be received; otherwise the first step goes without.
Error Exchange(Session& session, SecurityContext& context, RecordBuffer& input, bool may_read) {
  SECURITY_STATUS status = SEC_I_CONTINUE_NEEDED;
  const WaitLimit whole(session.settings.timeout);  // pieces that keep coming do not extend it
  std::size_t received = 0;
  while (GoesOn(status)) {
    if (input.empty() || status == SEC_E_INCOMPLETE_MESSAGE) {
      if (may_read) {
        const std::size_t before = input.unread().size();
        if (Error error = ReceiveMore(session, input)) return error;
        received += input.unread().size() - before;
        if (received > kMostBytes) return QV_ERROR_SECURITY_CONTEXT;
        if (Error error = CheckWait(session, whole)) return error;
      }
      may_read = true;
    }
    SecurityContext::Step step = context.Continue(input.unread());
    status = step.status;
    if (Error error = SendToPeer(session, step.token.view())) return error;
    if (status == SEC_E_INCOMPLETE_MESSAGE) continue;
    if (status == SEC_I_INCOMPLETE_CREDENTIALS) {
      context.AnswerCertificateRequest(session);
      may_read = false;
      status = SEC_I_CONTINUE_NEEDED;
      continue;
    }
    input.KeepLast(step.extra);
  }
  return status == SEC_E_OK ? context.TakeStreamSizes() : Error(QV_ERROR_SECURITY_CONTEXT);
}

}  // namespace

Error SendToPeer(Session& session, std::string_view bytes) {
  while (!bytes.empty()) {
    Result<INT> sent = PlainChannel().Send(session, bytes.data(), static_cast<INT>(bytes.size()));
    if (!sent && sent.error() == Error(QV_ERROR_OPERATION_WOULD_BLOCK)) {
      const WaitLimit limit(session.settings.timeout);
      if (Error error = AwaitReady(session, ReadyFor::kWrite, limit)) return error;
      continue;
    }
    if (!sent) return sent.error();
    if (Error error = session.CheckAlive()) return error;
    bytes.remove_prefix(static_cast<std::size_t>(*sent));
  }
  return kNoError;
}

Error StartHandshake(Session& session, SecurityContext& context, RecordBuffer& input) {
  const std::string server_name = ServerNameOf(session);
  if (server_name.empty()) return QV_ERROR_INVALID_HOSTNAME;
  const SecurityContext::Step step = context.Begin(server_name);
  if (step.status != SEC_I_CONTINUE_NEEDED) return QV_ERROR_SECURITY_NOT_INITIALIZED;
  if (Error error = SendToPeer(session, step.token.view())) return error;
  return Exchange(session, context, input, true);
}

Error Renegotiate(Session& session, SecurityContext& context, RecordBuffer& input) {
  return Exchange(session, context, input, false);
}

}  // namespace qv
