#include "transfer/upload_end.h"

#include "frame/session.h"
#include "protocol/early_answer.h"
#include "transfer/transfer_scope.h"

namespace qv {

Result<INT> FinishUpload(Session& session, TransferScope& transfer, Error error) {
  if (error) {
    Result<INT> answer = AnswerToBrokenRequest(session, error);
    if (!session.Alive()) return error;
    if (!answer) {
      transfer.Abandon();
    } else if (Error close_error = transfer.Close()) {
      return close_error;
    }
    return answer;
  }
  if (Error gone = session.CheckAlive()) return gone;
  const bool awaits_answer = session.request.streaming;
  if (awaits_answer) session.response.result_code = 0;
  const Error close_error = transfer.Close();
  if (Error gone = session.CheckAlive()) return close_error ? close_error : gone;
  if (!session.request.keep_alive_sent) session.connection.peer_closed = true;
  if (close_error) return close_error;
  const INT result_code = session.response.result_code;
  if (awaits_answer && result_code == 0) return Error(QV_ERROR_CONNECTION_CLOSED);
  return result_code;
}

}  // namespace qv
