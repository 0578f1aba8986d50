#include "transfer/one_call_file.h"

#include <optional>

#include "frame/error_slot.h"
#include "frame/library.h"
#include "frame/session.h"
#include "protocol/transfer_status.h"
#include "transfer/file_transfer.h"
#include "transfer/local_file.h"
#include "transfer/one_call_session.h"
#include "transfer/remote_file.h"
#include "url/url_parser.h"

namespace qv {
namespace {

OneCallConnection ConnectionFor(const Url& url, const OneCallFile& call) {
  OneCallConnection connection;
  connection.timeout = call.timeout;
  connection.options = call.options & ~(HTTP_OPTION_KEEPALIVE | HTTP_OPTION_SECURE);
  if (url.scheme == HTTP_SCHEME_HTTPS) connection.options |= HTTP_OPTION_SECURE;
  return connection;
}

Error Prepare(Session& session, const Url& url, const OneCallFile& call) {
  if (Error error = Authenticate(session, HTTP_AUTH_BASIC, url.user.value_or(""),
                                 url.password.value_or(""))) {
    return error;
  }
  if (call.callback == nullptr) return kNoError;
  const INT registered =
      HttpRegisterEvent(session.handle, HTTP_EVENT_PROGRESS, call.callback, call.parameter);
  return registered == HTTP_ERROR ? LastError() : kNoError;
}

}  // namespace

Result<HTTPTRANSFERSTATUSEX> TransferOneFile(FileDirection direction, const OneCallFile& call) {
  if (Error error = library::CheckInitialized()) return error;
  if (call.local.empty()) return Error(QV_ERROR_INVALID_FILE_NAME);
  if (call.url.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  // A name that cannot be used fails before anybody is connected to; the transfer reads it again.
  if (const Result<std::string> path = ResolveLocalName(call.local); !path) return path.error();
  const std::optional<Url> url = ParseUrl(call.url, HTTP_URLOPT_NORMALIZE);
  if (!url) return Error(QV_ERROR_INVALID_RESOURCE);
  const Result<OneCallSession> opened = OneCallSession::Open(*url, ConnectionFor(*url, call));
  if (!opened) return opened.error();
  Session& session = **opened;
  if (Error error = Prepare(session, *url, call)) return error;
  const std::string resource = ResourceOfUrl(*url);
  const Result<INT> result = direction == FileDirection::kDownload
                                 ? DownloadToFile(session, call.local, resource, 0, 0)
                                 : UploadFromFile(session, call.local, resource, 0, 0);
  if (!result) return result.error();
  return TransferStatusOf(session.transfer, GetTickCount(), session.Has(HTTP_OPTION_HIRES_TIMER));
}

Error VerifyFile(Session& session, std::string_view local, std::string_view remote) {
  if (local.empty()) return QV_ERROR_INVALID_FILE_NAME;
  if (remote.empty()) return QV_ERROR_INVALID_RESOURCE;
  const Result<std::string> path = ResolveLocalName(local);
  if (!path) return path.error();
  uint64_t local_size = 0;
  {
    const Result<LocalFile> file = LocalFile::OpenForReading(*path);
    if (!file) {
      const bool missing = file.error() == Error(QV_ERROR_FILE_NOT_FOUND);
      return missing ? file.error() : Error(QV_ERROR_ACCESS_DENIED);
    }
    const Result<uint64_t> size = file->Size();
    if (!size) return QV_ERROR_ACCESS_DENIED;
    local_size = *size;
  }
  uint64_t remote_size = 0;
  const Result<INT> result = QueryFileSize(session, remote, &remote_size);
  if (!result) return result.error();
  return local_size == remote_size ? kNoError : Error(QV_ERROR_FILE_SIZE_MISMATCH);
}

}  // namespace qv
