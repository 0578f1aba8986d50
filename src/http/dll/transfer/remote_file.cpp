#include "transfer/remote_file.h"

#include <string>

#include "events/notification_window.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/engine.h"
#include "protocol/headers.h"
#include "url/content_type.h"
#include "url/http_date.h"

namespace qv {
namespace {

constexpr std::size_t kLongestField = 1023;

// Asks with HEAD; a connection that the server closes after its answer is made anew.
Result<INT> QueryHead(Session& session, std::string_view name) {
  OperationScope operation(session.operation);
  if (session.request.open) return Error(QV_ERROR_REQUEST_NOT_COMPLETED);
  if (session.connection.peer_closed) {
    if (Error error = session.engine->Reconnect(session)) return error;
  }
  return session.engine->Command(session, {"HEAD", name});
}

Error RenewAfterHead(Session& session) {
  if (session.Has(HTTP_OPTION_KEEPALIVE)) return kNoError;
  const INT result_code = session.response.result_code;
  const auto result_text = session.response.result_text;
  if (Error error = session.engine->Reconnect(session)) return error;
  session.response.result_code = result_code;
  session.response.result_text = result_text;
  return kNoError;
}

// A request for the part of a resource from an offset on. A range that was not asked for in the end
// does not stay for a later request.
Result<INT> CommandWithRange(Session& session, const CommandArguments& arguments, uint64_t offset) {
  if (session.request.writing) return Error(QV_ERROR_OPERATION_IN_PROGRESS);
  if (session.request.open) return Error(QV_ERROR_REQUEST_NOT_COMPLETED);
  if (arguments.resource.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (Error error = SetRangeOffset(session, offset)) return error;
  return session.engine->Command(session, arguments);
}

Error CheckVersion(const Session& session) {
  return session.settings.version == HTTP_VERSION_09 ? Error(QV_ERROR_INVALID_PROTOCOL_VERSION)
                                                     : kNoError;
}

}  // namespace

Result<INT> QueryFileSize(Session& session, std::string_view name, uint64_t* size) {
  if (Error error = CheckVersion(session)) return error;
  if (size == nullptr) return Error(QV_ERROR_INVALID_PARAMETER);
  *size = 0;
  const NotificationPause pause(session);
  Result<INT> result = QueryHead(session, name);
  if (!result) return result;
  if (const auto field = ResponseField(session, "Content-Length", kLongestField)) {
    *size = ParseLeadingDecimal(*field).value_or(0);
  }
  if (Error error = RenewAfterHead(session)) return error;
  return result;
}

Result<INT> QueryFileTime(Session& session, std::string_view name, SYSTEMTIME* time,
                          bool localize) {
  if (Error error = CheckVersion(session)) return error;
  if (time == nullptr) return Error(QV_ERROR_INVALID_PARAMETER);
  *time = SYSTEMTIME{};
  const NotificationPause pause(session);
  Result<INT> result = QueryHead(session, name);
  if (!result) return result;
  if (const auto field = ResponseField(session, "Last-Modified", kLongestField)) {
    const Result<HttpDate> date = ParseHttpDate(std::string(*field).c_str(), localize);
    if (date) SecondsToCalendar(date->seconds, time);
  }
  if (Error error = RenewAfterHead(session)) return error;
  return result;
}

Result<INT> DeleteRemoteFile(Session& session, std::string_view name) {
  OperationScope operation(session.operation);
  return session.engine->Command(session, {"DELETE", name});
}

Result<INT> OpenRemoteFile(Session& session, std::string_view name, uint64_t offset) {
  OperationScope operation(session.operation);
  return CommandWithRange(session, {"GET", name}, offset);
}

Result<INT> CreateRemoteFile(Session& session, std::string_view name, uint64_t length,
                             uint64_t offset) {
  OperationScope operation(session.operation);
  if (name.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (length == 0) return Error(QV_ERROR_INVALID_PARAMETER);
  if (session.request.headers.Find("Content-Type") == nullptr) {
    const ContentType type = ContentTypeOfFile(name);
    if (type.media_type.empty()) return Error(QV_ERROR_INVALID_FILE_TYPE);
    if (Error error = SetRequestHeader(session, "Content-Type", type.media_type)) return error;
  }
  Result<INT> result = CommandWithRange(session, {"PUT", name, {}, length}, offset);
  if (result) session.transfer.content_length = length;
  return result;
}

}  // namespace qv
