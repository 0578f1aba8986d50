// The frame of a transfer function.
#ifndef QV_TRANSFER_TRANSFER_SCOPE_H_
#define QV_TRANSFER_TRANSFER_SCOPE_H_

#include <utility>

#include "events/notification_window.h"
#include "frame/session.h"
#include "protocol/engine.h"

namespace qv {

// QV_ERROR_OPERATION_IN_PROGRESS while another transfer runs on the session,
// QV_ERROR_CONNECTION_CLOSED when its connection was not asked to be kept and is used up,
// QV_ERROR_REQUEST_NOT_COMPLETED while a request of the application is open.
inline Error CheckTransferPossible(const Session& session) {
  if (session.transfer.collecting) return QV_ERROR_OPERATION_IN_PROGRESS;
  const bool spent = session.connection.peer_closed && !session.Has(HTTP_OPTION_KEEPALIVE);
  if (spent) return QV_ERROR_CONNECTION_CLOSED;
  return session.request.open ? Error(QV_ERROR_REQUEST_NOT_COMPLETED) : kNoError;
}

// Marks the session as transferring, from the start tick to Close, which ends the request.
class TransferScope {
 public:
  TransferScope(Session& session, INT status)
      : session_(session), operation_(session.operation), pause_(session) {
    session_.transfer.collecting = true;
    session_.transfer.Start();
    session_.operation.status = status;
  }
  ~TransferScope() { session_.transfer.collecting = false; }
  TransferScope(const TransferScope&) = delete;
  TransferScope& operator=(const TransferScope&) = delete;

  // Ends the request.
  Error Close() { return session_.engine->CloseRequest(session_); }

  // Ends the request after a failure, whose error is the one that counts; what is still to come of
  // the response is not worth waiting for. A connection is no use half-way through a request body.
  void Abandon() {
    RequestState& request = session_.request;
    ResponseState& response = session_.response;
    if (response.pending || !response.framing.complete) response.reusable = false;
    response.pending = false;
    if (std::exchange(request.streaming, false)) {
      session_.connection.CloseSocket();
      session_.connection.peer_closed = true;
      response.result_code = 0;  // it stood for a request that was sent
    }
    static_cast<void>(Close());
  }

  // The transfer proper begins.
  void Restart() { session_.transfer.Start(); }

 private:
  Session& session_;
  OperationScope operation_;
  NotificationPause pause_;
};

// Lets error responses pass as data for the time of a command.
class ErrorDataScope {
 public:
  ErrorDataScope(Session& session, bool enable) : session_(session) {
    added_ = enable && !session_.Has(HTTP_OPTION_ERRORDATA);
    if (added_) session_.settings.options |= HTTP_OPTION_ERRORDATA;
  }
  ~ErrorDataScope() {
    if (added_) session_.settings.options &= ~HTTP_OPTION_ERRORDATA;
  }
  ErrorDataScope(const ErrorDataScope&) = delete;
  ErrorDataScope& operator=(const ErrorDataScope&) = delete;

 private:
  Session& session_;
  bool added_;
};

// Makes error responses errors for the time of an upload, whatever the session asks for.
class NoErrorDataScope {
 public:
  explicit NoErrorDataScope(Session& session)
      : session_(session), removed_(session.Has(HTTP_OPTION_ERRORDATA)) {
    if (removed_) session_.settings.options &= ~HTTP_OPTION_ERRORDATA;
  }
  ~NoErrorDataScope() {
    if (removed_) session_.settings.options |= HTTP_OPTION_ERRORDATA;
  }
  NoErrorDataScope(const NoErrorDataScope&) = delete;
  NoErrorDataScope& operator=(const NoErrorDataScope&) = delete;

 private:
  Session& session_;
  bool removed_;
};

}  // namespace qv

#endif  // QV_TRANSFER_TRANSFER_SCOPE_H_
