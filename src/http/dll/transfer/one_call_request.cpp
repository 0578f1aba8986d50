#include "transfer/one_call_request.h"

#include <optional>
#include <string>

#include "frame/error_slot.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/headers.h"
#include "transfer/one_call_session.h"
#include "transfer/retrieve.h"
#include "transfer/submit.h"
#include "url/content_sniffer.h"
#include "url/content_type.h"
#include "url/url_parser.h"

namespace qv {
namespace {

constexpr HTTPCONNECTIONA kDefaultConnection{};

// The caller's record, or one that stands for none.
Result<const HTTPCONNECTIONA*> CheckRecord(const HTTPCONNECTIONA* record) {
  if (record == nullptr || record->dwSize == 0) return &kDefaultConnection;
  if (record->dwSize != sizeof(*record)) return Error(QV_ERROR_INVALID_PARAMETER);
  if (record->nProxyType != kProxyNone && TextOf(record->lpszProxyServer).empty()) {
    return Error(QV_ERROR_INVALID_HOSTNAME);
  }
  return record;
}

// The media type of the data: as the record says, or as they look; empty without data.
Result<std::string_view> TypeOfData(const HTTPCONNECTIONA& record, std::string_view data) {
  const std::string_view type = TrimLeft(TextOf(record.lpszContentType));
  if (type.empty()) return SniffContentType(data).media_type;
  const bool breaks_line = type.find_first_of("\r\n") != type.npos;
  if (breaks_line || ClassifyContentType(type) == HTTP_CONTENT_UNKNOWN) {
    return Error(QV_ERROR_UNSUPPORTED_MEDIA_TYPE);
  }
  return type;
}

OneCallConnection ConnectionFor(const Url& url, const HTTPCONNECTIONA& record) {
  OneCallConnection connection;
  connection.timeout = record.nTimeout;
  connection.options = (record.dwOptions & ~HTTP_OPTION_KEEPALIVE) | HTTP_OPTION_REDIRECT;
  if (url.scheme == HTTP_SCHEME_HTTPS) connection.options |= HTTP_OPTION_SECURE;
  connection.version = record.dwVersion;
  connection.proxy = {record.nProxyType, record.lpszProxyServer, record.nProxyPort,
                      record.lpszProxyUser, record.lpszProxyPassword};
  return connection;
}

Error Configure(Session& session, const HTTPCONNECTIONA& record, std::string_view type) {
  if (HttpSetEncodingType(session.handle, static_cast<INT>(record.nEncoding)) == HTTP_ERROR) {
    return LastError();
  }
  if (!type.empty()) {
    if (Error error = SetRequestHeader(session, "Content-Type", type)) return error;
  }
  if (const std::string_view agent = TrimLeft(TextOf(record.lpszUserAgent)); !agent.empty()) {
    if (Error error = SetRequestHeader(session, "User-Agent", agent)) return error;
  }
  if (record.nAuthType != HTTP_AUTH_NONE) {
    if (Error error = Authenticate(session, record.nAuthType, TextOf(record.lpszUserName),
                                   TextOf(record.lpszPassword))) {
      return error;
    }
  }
  return AddRequestHeaders(session, TextOf(record.lpszHeaders)).error();
}

Result<OneCallResponse> Get(Session& session, const std::string& target) {
  Result<RetrievedData> data =
      Retrieve(session, target, HTTP_TRANSFER_CONVERT | HTTP_TRANSFER_ERRORDATA);
  if (!data) return data.error();
  return OneCallResponse{std::move(data->body), data->result_code};
}

Result<OneCallResponse> Post(Session& session, const std::string& target, std::string_view data) {
  Submission submission;
  submission.resource = target;
  submission.body = data;
  submission.options = HTTP_POST_CONVERT | HTTP_POST_ERRORDATA;
  submission.collect = true;
  Result<SubmissionResult> result = SubmitPost(session, submission);
  if (!result) return result.error();
  return OneCallResponse{std::move(result->body), result->result_code};
}

Result<OneCallResponse> Put(Session& session, const std::string& target, std::string_view data,
                            bool wants_body) {
  if (!wants_body) {
    const Result<INT> result = StreamPut(session, target, data);
    if (!result) return result.error();
    return OneCallResponse{{}, *result};
  }
  Submission submission;
  submission.method = "PUT";
  submission.resource = target;
  submission.body = data;
  submission.encoding = HTTP_ENCODING_NONE;
  submission.status = HTTP_STATUS_PUTDATA;
  submission.options = HTTP_POST_CONVERT | HTTP_POST_ERRORDATA;
  submission.collect = true;
  Result<SubmissionResult> result = Submit(session, submission);
  if (!result) return result.error();
  return OneCallResponse{std::move(result->body), result->result_code};
}

DWORD TypeOf(const OneCallRequest& request) {
  if (request.type != HTTP_REQUEST_DEFAULT) return request.type;
  return request.data.empty() ? HTTP_REQUEST_GET : HTTP_REQUEST_POST;
}

}  // namespace

Result<OneCallResponse> SubmitRequest(const OneCallRequest& request) {
  if (request.url.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  const Result<const HTTPCONNECTIONA*> record = CheckRecord(request.connection);
  if (!record) return record.error();
  const Result<std::string_view> type = TypeOfData(**record, request.data);
  if (!type) return type.error();
  const DWORD request_type = TypeOf(request);
  if (request_type != HTTP_REQUEST_GET && request.data.empty()) {
    return Error(QV_ERROR_INVALID_BUFFER);
  }
  const std::optional<Url> url = ParseUrl(request.url, HTTP_URLOPT_NORMALIZE);
  if (!url) return Error(QV_ERROR_INVALID_RESOURCE);
  const Result<OneCallSession> opened = OneCallSession::Open(*url, ConnectionFor(*url, **record));
  if (!opened) return opened.error();
  Session& session = **opened;
  if (Error error = Configure(session, **record, *type)) return error;
  const std::string target = ResourceOfUrl(*url);
  switch (request_type) {
    case HTTP_REQUEST_POST:
      return Post(session, target, request.data);
    case HTTP_REQUEST_PUT:
      return Put(session, target, request.data, request.wants_body);
    default:
      return Get(session, target);
  }
}

}  // namespace qv
