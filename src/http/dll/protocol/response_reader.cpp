#include "protocol/response_reader.h"

#include <algorithm>

#include "events/freeze.h"
#include "events/notification_window.h"
#include "events/raise_event.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/discard.h"
#include "protocol/header_line_reader.h"
#include "protocol/headers.h"
#include "protocol/redirect.h"
#include "protocol/response_framing.h"
#include "protocol/status_table.h"

namespace qv {
namespace {

constexpr INT kContinue = 100;
constexpr INT kSwitchingProtocols = 101;
constexpr INT kFirstFinalStatus = 200;
constexpr INT kFirstErrorStatus = 400;
constexpr INT kFirstServerError = 500;
constexpr INT kLastErrorStatus = 599;
constexpr uint64_t kLargestStatus = 0x7FFFFFFF;
constexpr int kMostRedirects = 3;

// A status line starts a new response: what the fields of an interim one said is forgotten.
Error TakeStatusLine(Session& session, std::string_view line) {
  ResponseState& response = session.response;
  const std::size_t space = line.find(' ');
  if (space == line.npos) return kNoError;
  line = TrimLeft(line.substr(space));
  const std::size_t digits =
      static_cast<std::size_t>(std::find_if_not(line.begin(), line.end(), IsDigit) - line.begin());
  uint64_t code = 0;
  if (digits > 0) {
    const std::optional<uint64_t> number = ParseLeadingDecimal(line);
    if (!number || *number > kLargestStatus) return QV_ERROR_INVALID_SERVER_RESPONSE;
    code = *number;
  }
  response.result_code = static_cast<INT>(code);
  response.result_text = TrimLeft(line.substr(digits));
  response.server_error = response.result_code >= kFirstServerError;
  response.chunked = response.close_seen = false;
  response.keep_alive_seen = response.upgrade_seen = false;
  return kNoError;
}

void TakeField(Session& session, std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == line.npos) return;
  StoreResponseField(session, TrimRight(line.substr(0, colon)), line.substr(colon + 1));
}

// An interim response that is not the one the writer waits for (RFC 9110 section 15.2).
bool IsPassedOver(const Session& session) {
  const INT code = session.response.result_code;
  if (session.settings.version != HTTP_VERSION_11 || code == kSwitchingProtocols) return false;
  if (code < kContinue || code >= kFirstFinalStatus) return false;
  return code != kContinue || !session.request.expect_continue;
}

// Reads lines up to the end of the final response's header block, or of the connection.
Error ReadLines(Session& session) {
  HeaderLineReader reader(session, session.response.block);
  while (true) {
    Result<bool> complete = reader.Next();
    if (!complete) return complete.error();
    if (!*complete) return kNoError;
    const std::string_view line = reader.line();
    if (line.empty()) {
      if (IsPassedOver(session)) continue;
      return kNoError;
    }
    if (StartsWithNoCase(line, "HTTP/")) {
      if (Error error = TakeStatusLine(session, line)) return error;
      session.response.first_field = session.response.headers.entries().size();
    } else {
      TakeField(session, line);
    }
  }
}

// A window procedure of the application cannot re-enter the library meanwhile.
Error ReadUndisturbed(Session& session) {
  const NotificationPause pause(session);
  const ThreadFreeze freeze_others(session);
  const SessionFreeze freeze(session);
  return ReadLines(session);
}

Error Fail(Session& session, Error error) {
  RaiseEvent(session, Event::kCommand, error);
  return error;
}

// Whether the redirect is followed; its outcome is then the outcome of the command.
Result<bool> HandleRedirect(Session& session) {
  ResponseState& response = session.response;
  response.redirected = true;
  response.location.clear();
  const bool body_is_gone = session.request.streamed && session.Has(HTTP_OPTION_REDIRECT);
  if (++response.redirect_count > kMostRedirects || body_is_gone) {
    return Fail(session, QV_ERROR_RESOURCE_REDIRECTED);
  }
  const auto fields = response.headers.entries().subspan(response.first_field);
  const auto location = std::find_if(fields.begin(), fields.end(), [](const HeaderEntry& field) {
    return EqualsNoCase(field.name, "Location");
  });
  if (location == fields.end()) return false;
  response.location = location->value;
  RaiseEvent(session, Event::kCommand, kNoError);
  RaiseEvent(session, Event::kRedirect, kNoError);
  if (Error error = session.CheckAlive()) return error;
  if (!session.Has(HTTP_OPTION_REDIRECT)) return false;
  if (Error error = FollowRedirect(session, response.location)) return error;
  return true;
}

Error Succeed(Session& session) {
  RaiseEvent(session, Event::kCommand, kNoError);
  if (Error error = session.CheckAlive()) return error;
  AnnounceData(session);  // what of the body came with the header, or its end
  const Method method = session.request.method;
  const BodyFraming& framing = session.response.framing;
  if (method != Method::kHead && method != Method::kPut) {
    session.transfer.content_length =
        framing.kind == BodyFraming::Kind::kLength ? framing.remaining : 0;
  }
  return kNoError;
}

// The response is complete: what does it mean?
Error Interpret(Session& session) {
  ResponseState& response = session.response;
  Error error = StatusToError(response.result_code);
  const bool is_error =
      response.result_code >= kFirstErrorStatus && response.result_code <= kLastErrorStatus;
  if (is_error && session.Has(HTTP_OPTION_ERRORDATA)) {
    error = kNoError;
  } else if (is_error && session.request.keep_alive_sent) {
    DiscardBody(session);
    if (Error gone = session.CheckAlive()) return gone;
  }
  if (error == Error(QV_ERROR_RESOURCE_REDIRECTED)) {
    Result<bool> followed = HandleRedirect(session);
    if (!followed) return followed.error();
    if (*followed) {
      AnnounceData(session);
      return kNoError;
    }
  } else if (error) {
    return Fail(session, error);
  }
  return Succeed(session);
}

}  // namespace

Error ReadResponseHeader(Session& session) {
  ResponseState& response = session.response;
  if (!response.pending) return kNoError;
  Error error = ReadUndisturbed(session);
  const bool nothing_came = session.connection.peer_closed && response.block.block_size == 0;
  if (!error && nothing_came && session.request.repeatable) return QV_ERROR_CONNECTION_CLOSED;
  if (!error && session.request.expect_continue && response.result_code == kContinue) {
    return kNoError;  // the writer sends the body now and comes back for the final response
  }
  if (!error) {
    Result<BodyFraming> framing = FramingOf(session, response.first_field);
    if (framing) response.framing = *framing;
    error = framing.error();
  }
  if (error) {
    if (error == Error(QV_ERROR_INVALID_SERVER_RESPONSE)) {
      response.pending = false;
      response.reusable = false;
    }
    return error;
  }
  if (session.connection.peer_closed) response.framing = BodyFraming::None();
  response.pending = false;
  session.request.expect_continue = false;
  return Interpret(session);
}

}  // namespace qv
