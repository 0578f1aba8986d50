#include "queue/transfer.h"

#include "frame/error_slot.h"
#include "frame/library.h"
#include "frame/session.h"

namespace qv {
namespace {

constexpr UINT kTransferEvents = HTTP_EVENT_TIMEOUT | HTTP_EVENT_CANCEL | HTTP_EVENT_PROGRESS |
                                 HTTP_EVENT_FILEOPEN | HTTP_EVENT_UPLOAD;

// Makes the session known to those who control the queue, for as long as it transfers.
class PublishedSession {
 public:
  PublishedSession(Queue& queue, SessionRef session) : queue_(queue) {
    LibraryLock lock;
    published_ = queue_.Publish(std::move(session));
  }
  ~PublishedSession() {
    LibraryLock lock;
    queue_.Withdraw();
  }
  PublishedSession(const PublishedSession&) = delete;
  PublishedSession& operator=(const PublishedSession&) = delete;

  bool ok() const { return published_; }

 private:
  Queue& queue_;
  bool published_;
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
  const HCLIENT client = HttpConnectA(file.host.c_str(), file.port, file.timeout, file.options,
                                      HTTP_VERSION_DEFAULT, nullptr);
  if (client == INVALID_CLIENT) return {ReasonOfFailure()};
  Result<SessionRef> session = SessionTable::Get().Validate(client);
  if (!session) return {session.error()};
  TransferOutcome outcome{QV_ERROR_OPERATION_CANCELED};
  {
    // Spans everything that can be cancelled: no request gets lost between two functions.
    const OperationScope operation((*session)->operation);
    const PublishedSession published(queue, *session);
    if (callback.procedure != nullptr) {
      HttpRegisterEvent(client, kTransferEvents, callback.procedure, callback.parameter);
    }
    if (published.ok()) outcome = Move(client, file);
  }
  // A callback may have closed it, and its handle may have a new owner.
  if ((*session)->Alive()) HttpDisconnect(client);
  return outcome;
}

}  // namespace qv
