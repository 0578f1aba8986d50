#include "transfer/submit_text.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "frame/session.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "protocol/headers.h"
#include "transfer/submit.h"

namespace qv {
namespace {

constexpr DWORD kSmallestCapacity = 2;

INT CapacityOf(DWORD capacity) {
  return static_cast<INT>(std::min<DWORD>(capacity, std::numeric_limits<INT>::max()));
}

Result<SubmissionResult> PostText(Session& session, std::string_view resource,
                                  std::string_view text, DWORD options) {
  if (Error error = SetRequestHeaderIfAbsent(session, "Content-Type", kUtf8TextType)) return error;
  Submission submission;
  submission.resource = resource;
  submission.body = text;
  submission.encoding = HTTP_ENCODING_NONE;
  submission.options = options | HTTP_POST_CONVERT;
  submission.collect = true;
  return SubmitPost(session, submission);
}

// A response of a code page as UTF-16; malformed UTF-8 is QV_ERROR_INVALID_CHARSET, as is a code
// page that cannot be converted from.
Result<std::u16string> WideOfResponse(std::string_view text, UINT code_page) {
  if (text.empty()) return std::u16string();
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return Error(QV_ERROR_OUT_OF_MEMORY);
  }
  const DWORD flags = code_page == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
  if (code_page == GetACP()) code_page = CP_ACP;
  const int size = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(code_page, flags, text.data(), size, nullptr, 0);
  if (units <= 0) return Error(QV_ERROR_INVALID_CHARSET);
  std::u16string wide(static_cast<std::size_t>(units), u'\0');
  MultiByteToWideChar(code_page, flags, text.data(), size, wide.data(), units);
  return wide;
}

Error CheckArguments(std::string_view text, const void* result, DWORD capacity) {
  if (text.empty() || result == nullptr) return QV_ERROR_INVALID_PARAMETER;
  return capacity < kSmallestCapacity ? Error(QV_ERROR_BUFFER_TOO_SMALL) : kNoError;
}

struct WideResponse {
  std::u16string text;
  INT result_code = 0;
};

// Posts a text and takes the response as text.
Result<WideResponse> Exchange(Session& session, std::string_view resource, std::string_view text,
                              DWORD capacity, const void* result, UINT code_page, DWORD options) {
  if (Error error = CheckArguments(text, result, capacity)) return error;
  Result<SubmissionResult> response = PostText(session, resource, text, options);
  if (!response) return response.error();
  Result<std::u16string> wide =
      WideOfResponse({response->body.block.data(), response->body.length}, code_page);
  if (!wide) return wide.error();
  return WideResponse{*std::move(wide), response->result_code};
}

}  // namespace

Result<INT> PostTextEx(Session& session, std::string_view resource, std::string_view text,
                       LPSTR result, LPDWORD length, UINT code_page, DWORD options) {
  if (length == nullptr) return Error(QV_ERROR_INVALID_PARAMETER);
  const DWORD capacity = std::exchange(*length, 0);
  if (result != nullptr && capacity > 0) *result = '\0';
  Result<WideResponse> response =
      Exchange(session, resource, text, capacity, result, code_page, options);
  if (!response) return response.error();
  std::string narrow = Utf8FromWide(std::u16string_view(response->text).substr(0, capacity - 1));
  // Never half a character at the end.
  std::size_t kept = std::min<std::size_t>(narrow.size(), capacity - 1);
  while (kept < narrow.size() && kept > 0 && (narrow[kept] & 0xC0) == 0x80) --kept;
  *length = static_cast<DWORD>(
      CopyText(std::string_view(narrow).substr(0, kept), result, CapacityOf(capacity)));
  return response->result_code;
}

Result<INT> PostTextExWide(Session& session, std::string_view resource, std::string_view text,
                           LPWSTR result, LPDWORD length, UINT code_page, DWORD options) {
  if (length == nullptr) return Error(QV_ERROR_INVALID_PARAMETER);
  const DWORD capacity = std::exchange(*length, 0);
  if (result != nullptr && capacity > 0) *result = u'\0';
  Result<WideResponse> response =
      Exchange(session, resource, text, capacity, result, code_page, options);
  if (!response) return response.error();
  *length = static_cast<DWORD>(CopyWide(response->text, result, CapacityOf(capacity)));
  return response->result_code;
}

}  // namespace qv
