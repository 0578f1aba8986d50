#include "queue/transfer.h"

#include <optional>

#include "frame/error_slot.h"
#include "frame/library.h"
#include "frame/session.h"
#include "protocol/connect.h"

namespace qv {
namespace {

constexpr UINT kTransferEvents = HTTP_EVENT_TIMEOUT | HTTP_EVENT_CANCEL | HTTP_EVENT_PROGRESS |
                                 HTTP_EVENT_FILEOPEN | HTTP_EVENT_UPLOAD;

// The session of a transfer. Those who control the queue can cancel it from its creation on.
class TransferSession {
 public:
  explicit TransferSession(Queue& queue) : queue_(queue) {}
  ~TransferSession() {
    {
      LibraryLock lock;
      queue_.Withdraw();
    }
    operation_.reset();
    // A callback may have closed it, and its handle may have a new owner.
    if (session_ && session_->Alive()) HttpDisconnect(session_->handle);
  }
  TransferSession(const TransferSession&) = delete;
  TransferSession& operator=(const TransferSession&) = delete;

  Result<HCLIENT> Connect(const QueuedFile& file) {
    ConnectArguments arguments;
    arguments.host = file.host.c_str();
    arguments.port = file.port;
    arguments.timeout = file.timeout;
    arguments.options = file.options;
    const Result<HCLIENT> client = ConnectSession(arguments, [this](const SessionRef& created) {
      session_ = created;
      operation_.emplace(session_->operation);
      LibraryLock lock;
      queue_.Adopt(session_);
    });
    if (!client) return client;
    LibraryLock lock;
    queue_.SetConnected();
    return client;
  }

 private:
  Queue& queue_;
  SessionRef session_;
  // Spans everything that can be cancelled: no request gets lost between two functions.
  std::optional<OperationScope> operation_;
};

// A failed function need not have left a reason.
Error ReasonOfFailure() {
  const Error error = LastError();
  return error ? error : Error(QV_ERROR_INTERNAL_FAILURE);
}

Error Authenticate(HCLIENT client, const QueuedFile& file) {
  if (file.user.empty() && file.password.empty()) return kNoError;
  const INT result =
      HttpAuthenticateA(client, file.auth_type, file.user.c_str(), file.password.c_str());
  return result == HTTP_ERROR ? LastError() : kNoError;
}

TransferOutcome Move(HCLIENT client, const QueuedFile& file) {
  if (Error error = Authenticate(client, file)) return {error};
  const INT result = file.type == HTTP_QUEUE_DOWNLOAD
                         ? HttpGetFileA(client, file.local_file.c_str(), file.url.c_str(), 0, 0)
                         : HttpPutFileA(client, file.local_file.c_str(), file.url.c_str(), 0, 0);
  if (result == HTTP_ERROR) return {ReasonOfFailure()};
  HTTPTRANSFERSTATUSEX status{};
  if (HttpGetTransferStatusEx(client, &status) == HTTP_ERROR) return {ReasonOfFailure()};
  return {kNoError, status.dwBytesCopied};
}

}  // namespace

TransferOutcome TransferQueuedFile(Queue& queue, const QueuedFile& file,
                                   const EventCallback& callback) {
  TransferSession session(queue);
  const Result<HCLIENT> client = session.Connect(file);
  if (!client) return {client.error() ? client.error() : Error(QV_ERROR_INTERNAL_FAILURE)};
  if (callback.procedure != nullptr) {
    HttpRegisterEvent(*client, kTransferEvents, callback.procedure, callback.parameter);
  }
  return Move(*client, file);
}

}  // namespace qv
