#include "transfer/upload_end.h"

#include "frame/session.h"
#include "protocol/engine.h"
#include "transfer/transfer_scope.h"

namespace qv {
namespace {

bool IsBroken(Error error) {
  return error == Error(QV_ERROR_CONNECTION_RESET) || error == Error(QV_ERROR_CONNECTION_ABORTED) ||
         error == Error(QV_ERROR_CONNECTION_CLOSED) || error == Error(QV_ERROR_CONNECTION_SHUTDOWN);
}

// Whether an answer may have come that nobody has read: a request is on its way on a connection of
// which the end was not seen yet.
bool MayHaveAnswer(const Session& session) {
  const Connection& connection = session.connection;
  const bool on_its_way = session.request.streaming || session.response.pending;
  return on_its_way && connection.channel != nullptr && !connection.peer_closed &&
         session.response.block.block_size == 0;
}

}  // namespace

Error ReasonOfBrokenUpload(Session& session, Error error) {
  if (!session.Alive() || !IsBroken(error) || !MayHaveAnswer(session)) return error;
  session.request.streaming = false;
  session.request.streamed = true;  // a part of the body is gone: no redirect is followed with it
  session.connection.peer_closed = false;
  session.response.pending = true;
  session.response.result_code = 0;
  const Error answer = session.engine->ReadResponse(session);
  session.connection.peer_closed = true;
  return answer && session.response.result_code != 0 ? answer : error;
}

Result<INT> FinishUpload(Session& session, TransferScope& transfer, Error error) {
  if (error) error = ReasonOfBrokenUpload(session, error);
  if (Error gone = session.CheckAlive()) return error ? error : gone;
  if (error) {
    transfer.Abandon();
    return error;
  }
  const bool awaits_answer = session.request.streaming;
  if (awaits_answer) session.response.result_code = 0;
  if (Error close_error = transfer.Close()) return close_error;
  if (!session.request.keep_alive_sent) session.connection.peer_closed = true;
  const INT result_code = session.response.result_code;
  if (awaits_answer && result_code == 0) return Error(QV_ERROR_CONNECTION_CLOSED);
  return result_code;
}

}  // namespace qv
