#include "protocol/command.h"

#include <optional>
#include <string>

#include "events/notification_window.h"
#include "frame/error_slot.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/early_answer.h"
#include "protocol/parameters.h"
#include "protocol/request_writer.h"
#include "protocol/response_reader.h"
#include "protocol/session_io.h"
#include "url/url_parser.h"

namespace qv {
namespace {

constexpr INT kResultOk = 200;
constexpr DWORD kJustUsedMs = 10;

// Whether a look at the socket would only cost time: the connection was in use a moment ago, and
// the request is sent again where it finds the connection gone. Not over TLS, which sends messages
// of its own.
bool WasJustUsed(const Session& session, Method method) {
  const Connection& connection = session.connection;
  return IsSafe(method) && connection.channel->security() == nullptr &&
         TransferCounters::Now() - connection.idle_since < kJustUsedMs;
}

// Whether the connection may still hold something of an earlier exchange, or is at its end.
bool IsSpent(Session& session, Method method) {
  const Connection& connection = session.connection;
  const ResponseState& response = session.response;
  if (connection.peer_closed || connection.channel == nullptr) return true;
  if (!connection.used) return false;
  if (response.pending || !response.reusable || response.close_seen || !response.framing.complete ||
      !connection.input.empty()) {
    return true;
  }
  return !WasJustUsed(session, method) && HasUnaskedInput(session);
}

// Connects again where the connection cannot carry another request.
Error RenewConnection(Session& session, Method method) {
  const bool closing = session.request.keep_alive_sent && session.response.close_seen;
  if (closing || session.response.server_error) {
    if (Error error = session.engine->Reconnect(session)) return error;
    SetLastError(kNoError);  // the failure that made it necessary is over
    return kNoError;
  }
  if (!IsSpent(session, method)) return kNoError;
  session.connection.peer_closed = true;
  if (!session.Has(HTTP_OPTION_KEEPALIVE)) return QV_ERROR_CONNECTION_CLOSED;
  return session.engine->Reconnect(session);
}

// An absolute URL of the server that the session is connected to becomes a path.
std::string ResourceOf(const Session& session, std::string_view resource) {
  const Connection& connection = session.connection;
  if (connection.proxy_type != kProxyNone || CheckUrl(resource) == 0) return std::string(resource);
  const std::optional<Url> url = ParseUrl(resource, HTTP_URLOPT_NORMALIZE);
  if (!url || !EqualsNoCase(url->host, connection.host) || url->port != connection.port) {
    return std::string(resource);
  }
  std::string path = url->resource.empty() ? "/" : url->resource;
  return url->query ? path + "?" + *url->query : path;
}

// How long a streamed body will be: as the caller says, or the application's own header.
uint64_t DeclaredLength(const RequestState& request, const CommandArguments& arguments) {
  if (arguments.declared_length > 0) return arguments.declared_length;
  const HeaderEntry* header = request.headers.Find("Content-Length");
  return header != nullptr ? ParseLeadingDecimal(header->value).value_or(0) : 0;
}

// Whether the application writes the body of a PUT next. With notifications the response is
// announced when it comes, so that a PUT without a length needs no end.
bool IsWrittenPut(const Session& session, const CommandArguments& arguments) {
  if (session.request.method != Method::kPut) return false;
  return !session.events.Notifies() || DeclaredLength(session.request, arguments) > 0;
}

// The body comes with Write; whoever writes it does not wait for an interim response.
void BeginStreaming(Session& session, const CommandArguments& arguments) {
  RequestState& request = session.request;
  if (request.method == Method::kPut) request.keep_alive_sent = false;
  request.expect_continue = false;
  request.streaming = request.streamed = true;
  request.declared = DeclaredLength(request, arguments);
  request.written = 0;
  if (!session.events.Notifies()) session.response.result_code = kResultOk;
}

Result<INT> WriteAndRead(Session& session, const CommandArguments& arguments) {
  RequestState& request = session.request;
  const Error write_error = WriteRequest(session, arguments);
  const bool body_follows = request.parameters.empty() && !arguments.complete &&
                            (IsWrittenPut(session, arguments) || arguments.declared_length > 0);
  if (write_error) {
    if (request.repeatable) return write_error;
    Result<INT> answer = AnswerToBrokenRequest(session, write_error);
    if (!answer) return answer;
  } else if (body_follows && session.response.pending) {
    BeginStreaming(session, arguments);
  } else if (!session.events.Notifies()) {
    if (Error error = ReadResponseHeader(session)) return error;
  }
  if (request.method != Method::kHead) request.open = true;
  AnnounceBuffered(session);
  return session.response.result_code;
}

// A kept connection can die between the look at it and the request. A safe request of which nothing
// came back is then sent once more (RFC 9110 section 9.2.2).
bool DiedUnanswered(const Session& session, Error error) {
  if (!session.request.repeatable || session.response.block.block_size > 0) return false;
  return error == Error(QV_ERROR_CONNECTION_CLOSED) || error == Error(QV_ERROR_CONNECTION_RESET) ||
         error == Error(QV_ERROR_CONNECTION_ABORTED);
}

Result<INT> WriteAndReadSafely(Session& session, const CommandArguments& arguments) {
  RequestState& request = session.request;
  request.repeatable = session.connection.used && IsSafe(request.method);
  Result<INT> result = WriteAndRead(session, arguments);
  if (result || !session.Alive() || !DiedUnanswered(session, result.error())) return result;
  request.repeatable = false;
  if (Error error = session.engine->Reconnect(session)) return error;
  return WriteAndRead(session, arguments);
}

Result<INT> Start(Session& session, const CommandArguments& arguments, bool resend) {
  if (session.request.writing) return Error(QV_ERROR_OPERATION_IN_PROGRESS);
  if (session.request.open) return Error(QV_ERROR_REQUEST_NOT_COMPLETED);
  std::string method_name = ToUpperCopy(arguments.method);
  const Method method = MethodOf(method_name);
  if (Error error = RenewConnection(session, method)) return error;
  RequestState& request = session.request;
  request.method_name = std::move(method_name);
  request.method = method;
  request.streaming = request.streamed = false;
  request.complete = arguments.complete;
  session.response.Reset();
  session.transfer.Reset();
  Result<std::string> parameters =
      resend ? std::string(arguments.parameters) : EncodeParameters(session, arguments.parameters);
  if (!parameters) return parameters.error();
  request.parameters = *std::move(parameters);
  const std::string resource = ResourceOf(session, arguments.resource);
  CommandArguments written = arguments;
  written.resource = resource;
  return WriteAndReadSafely(session, written);
}

}  // namespace

Result<INT> SendCommand(Session& session, const CommandArguments& arguments) {
  if (!IsMethodName(arguments.method)) return Error(QV_ERROR_INVALID_COMMAND);
  if (arguments.resource.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  session.response.redirected = false;
  session.response.redirect_count = 0;
  if (!session.request.open) session.request.headers.BeginRequest();
  return Start(session, arguments, false);
}

Result<INT> ResendCommand(Session& session, const CommandArguments& arguments) {
  return Start(session, arguments, true);
}

}  // namespace qv
