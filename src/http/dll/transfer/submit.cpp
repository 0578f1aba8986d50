#include "transfer/submit.h"

#include <algorithm>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/content_encoding.h"
#include "protocol/engine.h"
#include "protocol/pacer.h"
#include "protocol/session_io.h"
#include "transfer/body_loop.h"
#include "transfer/line_ends.h"
#include "transfer/remote_file.h"
#include "transfer/retrieve.h"
#include "transfer/transfer_scope.h"
#include "transfer/upload_end.h"

namespace qv {
namespace {

constexpr std::string_view kMultipart = "multipart/form-data";

// Changes the session's encoding type for the time of a call.
class EncodingScope {
 public:
  EncodingScope(Session& session, INT encoding)
      : session_(session), previous_(session.settings.encoding) {
    if (encoding != kKeepEncoding) session_.settings.encoding = encoding;
  }
  ~EncodingScope() { session_.settings.encoding = previous_; }
  EncodingScope(const EncodingScope&) = delete;
  EncodingScope& operator=(const EncodingScope&) = delete;

 private:
  Session& session_;
  INT previous_;
};

Result<MemoryBody> CollectResponse(Session& session, DWORD options) {
  Result<MemorySink> sink = MemorySink::Create(session);
  if (!sink) return sink.error();
  if (Error error = ReceiveBody(session, *sink)) return error;
  Result<MemoryBody> body = sink->Take();
  if (!body || body->length == 0 || (options & HTTP_POST_CONVERT) == 0) return body;
  const bool plain_text = ContentEncodingOf(session) == ContentEncoding::kIdentity &&
                          ContentClassOf(session) == HTTP_CONTENT_TEXT;
  if (plain_text) {
    if (Error error = ConvertLineEnds(*body)) return error;
  }
  return body;
}

Result<INT> SendCommand(Session& session, const Submission& submission) {
  const ErrorDataScope error_data(session, (submission.options & HTTP_POST_ERRORDATA) != 0);
  return session.engine->Command(session, {.method = submission.method,
                                           .resource = submission.resource,
                                           .parameters = submission.body,
                                           .complete = true});
}

// Sends what is to be read back with the request still open on success.
Result<SubmissionResult> SendOnly(Session& session, const Submission& submission,
                                  TransferScope& transfer) {
  Result<INT> result = SendCommand(session, submission);
  if (!result) {
    const Error error = result.error();
    if (session.Alive()) transfer.Abandon();
    return error;
  }
  return SubmissionResult{{}, *result};
}

Error WriteInPieces(Session& session, std::string_view body) {
  Pacer pacer(session);
  while (!body.empty()) {
    const auto piece = static_cast<INT>(std::min(body.size(), kPieceSize));
    Result<INT> written = session.engine->Write(session, body.data(), piece);
    if (!written) return written.error();
    body.remove_prefix(static_cast<std::size_t>(*written));
    if (Error error = pacer.AfterBlock()) return error;
  }
  return pacer.Finish();
}

}  // namespace

Result<SubmissionResult> Submit(Session& session, const Submission& submission) {
  if (submission.resource.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (Error error = CheckTransferPossible(session)) return error;
  TransferScope transfer(session, submission.status);
  const EncodingScope encoding(session, submission.encoding);
  if (!submission.collect) return SendOnly(session, submission, transfer);
  Result<INT> result = SendCommand(session, submission);
  Result<MemoryBody> body = result ? CollectResponse(session, submission.options) : result.error();
  if (Error gone = session.CheckAlive()) return body ? gone : body.error();
  if (!body) {
    transfer.Abandon();
    return body.error();
  }
  if (Error error = transfer.Close()) return error;
  return SubmissionResult{*std::move(body), session.response.result_code};
}

Result<SubmissionResult> SubmitPost(Session& session, Submission submission) {
  const HeaderEntry* type = session.request.headers.Find("Content-Type");
  if (type != nullptr && EqualsNoCase(type->value, kMultipart)) {
    submission.options |= HTTP_POST_MULTIPART;
  }
  submission.method = "POST";
  if (session.settings.version == HTTP_VERSION_09) {
    submission.method = "GET";
    submission.options &= ~HTTP_POST_MULTIPART;
  }
  if ((submission.options & HTTP_POST_MULTIPART) != 0) submission.encoding = HTTP_ENCODING_NONE;
  return Submit(session, submission);
}

Result<INT> StreamPut(Session& session, std::string_view resource, std::string_view body) {
  if (Error error = CheckTransferPossible(session)) return error;
  TransferScope transfer(session, HTTP_STATUS_PUTDATA);
  const NoErrorDataScope no_error_data(session);
  Result<INT> result = CreateRemoteFile(session, resource, body.size(), 0);
  Error error = result.error();
  if (result) {
    transfer.Restart();
    error = WriteInPieces(session, body);
  }
  return FinishUpload(session, transfer, error);
}

}  // namespace qv
