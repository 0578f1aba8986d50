#include "protocol/request_writer.h"

#include <algorithm>

#include "events/notification_window.h"
#include "frame/session.h"
#include "protocol/default_headers.h"
#include "protocol/pacer.h"
#include "protocol/request_target.h"
#include "protocol/response_reader.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr DWORD kFirstVersionWithHeaders = 0x10000;  // below it: HTTP/0.9, a request line only
constexpr INT kExpectTimeout = 5;                    // seconds to wait for an interim response
constexpr INT kResultOk = 200;

// Parameters may stand in a request line only if they cannot end it.
bool FitsRequestLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == text.npos;
}

// The request line, at the start of the session's message buffer.
Error ComposeRequestLine(Session& session, std::string_view resource) {
  Result<RequestTarget> target = MakeRequestTarget(session, resource);
  if (!target) return target.error();
  RequestState& request = session.request;
  request.path = std::move(target->path);
  request.query = std::move(target->query);
  const bool rooted =
      request.path.starts_with('/') || request.path.find("://") != std::string::npos;
  const bool known = request.method != Method::kOther;

  std::string& line = request.message;
  line.assign(request.method_name).append(" ").append(target->prefix);
  if (target->prefix.empty() && known && !rooted) line += '/';
  line += request.path;
  if (!request.query.empty()) line.append("?").append(request.query);
  if (!SendsBody(request.method) && !request.parameters.empty()) {
    if (!FitsRequestLine(request.parameters)) return QV_ERROR_INVALID_PARAMETER;
    line.append(request.query.empty() ? "?" : "&").append(request.parameters);
  }
  const DWORD version = session.settings.version;
  if (version >= kFirstVersionWithHeaders) {
    line.append(" HTTP/").append(std::to_string(version >> 16));
    line.append(".").append(std::to_string(version & 0xFFFF));
  }
  line += kLineEnd;
  return kNoError;
}

// Every entry of the request list that has a value and may go to this origin.
void ComposeHeaderBlock(Session& session) {
  const Origin target = OriginOf(session);
  std::string& block = session.request.message;
  for (const HeaderEntry& entry : session.request.headers.entries()) {
    if (entry.name.empty() || entry.value.empty()) continue;
    if (entry.origin && !MaySendCredentials(*entry.origin, target)) continue;
    block.append(entry.name).append(": ").append(entry.value).append(kLineEnd);
  }
  block += kLineEnd;
}

void PrepareHttp09Response(Session& session) {
  session.response.pending = false;
  session.request.keep_alive_sent = false;
  session.response.result_code = kResultOk;
  session.response.framing = BodyFraming::UntilClose();
}

// Waits a short while for "100 Continue"; a server that sends none gets the body all the same.
Error AwaitContinue(Session& session) {
  const INT timeout = session.settings.timeout;
  if (timeout == 0 || timeout > kExpectTimeout) session.settings.timeout = kExpectTimeout;
  const Error error = ReadResponseHeader(session);
  session.settings.timeout = timeout;
  if (error && !(error == Error(QV_ERROR_OPERATION_TIMEOUT))) return error;
  if (Error gone = session.CheckAlive()) return gone;
  session.request.expect_continue = false;  // an interim response that comes later says nothing
  return kNoError;
}

// A command from inside an event would replace the body that is being sent.
class WritingScope {
 public:
  explicit WritingScope(RequestState& request) : request_(request) { request_.writing = true; }
  ~WritingScope() { request_.writing = false; }
  WritingScope(const WritingScope&) = delete;
  WritingScope& operator=(const WritingScope&) = delete;

 private:
  RequestState& request_;
};

// Sends the body in pieces; `sent` bytes of it went out with the header.
Error WriteBody(Session& session, std::size_t sent) {
  std::string_view body = session.request.parameters;
  TransferCounters& transfer = session.transfer;
  transfer.content_length = body.size();
  transfer.copied = sent;
  transfer.Start();
  Pacer pacer(session);
  const WritingScope writing(session.request);
  for (body.remove_prefix(sent); !body.empty();) {
    const std::size_t piece = std::min(body.size(), kPieceSize);
    if (Error error = WriteAll(session, body.substr(0, piece))) return error;
    body.remove_prefix(piece);
    transfer.copied += piece;
    if (Error error = pacer.AfterBlock()) return error;
  }
  transfer.content_length = 0;
  transfer.End();
  return pacer.Finish();
}

}  // namespace

Error WriteRequest(Session& session, const CommandArguments& arguments) {
  RequestState& request = session.request;
  const NotificationPause pause(session);
  if (Error error = ComposeRequestLine(session, arguments.resource)) return error;
  session.response.headers.Clear();
  const bool http09 = session.settings.version < kFirstVersionWithHeaders;
  if (!http09) {
    if (Error error = ApplyDefaultHeaders(session, arguments)) return error;
    ComposeHeaderBlock(session);
  }
  const bool has_body = !http09 && SendsBody(request.method) && !request.parameters.empty();
  std::size_t sent_with_header = 0;
  if (has_body && !request.expect_continue && request.parameters.size() <= kPieceSize) {
    sent_with_header = request.parameters.size();
    request.message += request.parameters;
  }
  session.response.pending = true;
  session.connection.used = true;
  if (Error error = WriteAll(session, request.message)) return error;
  if (http09) {
    PrepareHttp09Response(session);
    return kNoError;
  }
  if (!has_body) return kNoError;
  if (request.expect_continue) {
    const int redirects = session.response.redirect_count;
    if (Error error = AwaitContinue(session)) return error;
    if (!session.response.pending) {  // the final response came instead: nothing more to send
      if (session.response.redirect_count == redirects) session.response.reusable = false;
      return kNoError;
    }
  }
  return WriteBody(session, sent_with_header);
}

}  // namespace qv
