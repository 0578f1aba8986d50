#include "protocol/early_answer.h"

#include "frame/session.h"
#include "protocol/response_reader.h"

namespace qv {
namespace {

constexpr INT kFirstRedirect = 300;

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

Result<INT> AnswerToBrokenRequest(Session& session, Error error) {
  if (!session.Alive() || !IsBroken(error) || !MayHaveAnswer(session)) return error;
  const int redirects = session.response.redirect_count;
  session.request.streaming = false;
  session.response.pending = true;
  session.response.result_code = 0;
  const Error answer = ReadResponseHeader(session);
  if (Error gone = session.CheckAlive()) return gone;
  const INT result_code = session.response.result_code;
  const bool followed = session.response.redirect_count > redirects;
  if (!answer && followed && result_code < kFirstRedirect) return result_code;
  session.response.reusable = false;
  if (!answer && result_code >= kFirstRedirect) return result_code;
  session.connection.peer_closed = true;
  return answer && result_code != 0 ? answer : error;
}

}  // namespace qv
