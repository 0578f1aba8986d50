// Exported functions: commands, responses and authentication.
#include <algorithm>

#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "protocol/engine.h"
#include "protocol/headers.h"

namespace {

constexpr INT kNoContent = 204;
constexpr std::size_t kLongestLengthField = 1023;

std::string_view BytesOf(LPCVOID data, DWORD size) {
  if (data == nullptr) return {};
  return {static_cast<const char*>(data), size};
}

// The length of the last response's body, as announced or as received.
qv::Result<ULONGLONG> ContentLengthOf(const qv::Session& session) {
  if (session.response.result_code == kNoContent) return ULONGLONG{0};
  const auto field = qv::ResponseField(session, "Content-Length", kLongestLengthField);
  const auto announced = qv::ParseLeadingDecimal(field.value_or(""));
  const qv::TransferCounters& transfer = session.transfer;
  const bool received = session.response.framing.started && transfer.end_tick != 0;
  if (received && transfer.copied != 0) {
    return std::max<ULONGLONG>(transfer.content_length, transfer.copied);
  }
  if (announced) return ULONGLONG{*announced};
  return qv::Error(QV_ERROR_HEADER_NOT_FOUND);
}

}  // namespace

INT WINAPI HttpCommandA(HCLIENT hClient, LPCSTR lpszCommand, LPCSTR lpszFileName,
                        LPCVOID lpParameter, DWORD cbParameter, DWORD dwReserved) QV_NOEXCEPT {
  return qv::SessionBoundary<
      INT>(hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
    const std::string_view command = qv::TextOf(lpszCommand);
    const std::string_view resource = qv::TextOf(lpszFileName);
    if (command.empty()) return qv::Error(QV_ERROR_INVALID_COMMAND);
    if (resource.empty()) return qv::Error(QV_ERROR_INVALID_RESOURCE);
    if (dwReserved != 0) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    qv::OperationScope operation(session.operation);
    return session.engine->Command(session, {command, resource, BytesOf(lpParameter, cbParameter)});
  });
}

INT WINAPI HttpGetResultCode(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [](qv::Session& session) -> qv::Result<INT> {
    qv::OperationScope operation(session.operation);
    const qv::Error error = session.engine->ReadResponse(session);
    if (error) qv::SetLastError(error);
    if (qv::Error gone = session.CheckAlive()) return gone;
    return session.response.result_code;
  });
}

INT WINAPI HttpGetResultStringA(HCLIENT hClient, LPSTR lpszMessage, INT cchMessage) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, 0, [&](qv::Session& session) -> qv::Result<INT> {
    if (lpszMessage == nullptr || cchMessage < 1) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    *lpszMessage = '\0';
    qv::OperationScope operation(session.operation);
    const qv::Error error = session.engine->ReadResponse(session);
    if (error) qv::SetLastError(error);
    if (qv::Error gone = session.CheckAlive()) return gone;
    return qv::CopyText(session.response.result_text, lpszMessage, cchMessage);
  });
}

BOOL WINAPI HttpGetContentLengthEx(HCLIENT hClient, LPULONGLONG lpqwLength) QV_NOEXCEPT {
  if (lpqwLength != nullptr) *lpqwLength = 0;
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::Result<ULONGLONG> length = ContentLengthOf(session);
    if (!length) return length.error();
    if (lpqwLength != nullptr) *lpqwLength = *length;
    return TRUE;
  });
}

BOOL WINAPI HttpGetContentLength(HCLIENT hClient, LPDWORD lpdwLength) QV_NOEXCEPT {
  if (lpdwLength != nullptr) *lpdwLength = 0;
  ULONGLONG length = 0;
  if (!HttpGetContentLengthEx(hClient, &length)) return FALSE;
  if (lpdwLength != nullptr) *lpdwLength = static_cast<DWORD>(length);
  return TRUE;
}

INT WINAPI HttpAuthenticateA(HCLIENT hClient, UINT idMethod, LPCSTR lpszUserName,
                             LPCSTR lpszPassword) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (qv::Error error = qv::Authenticate(session, idMethod, qv::TextOf(lpszUserName),
                                               qv::TextOf(lpszPassword))) {
          return error;
        }
        return 0;
      });
}

INT WINAPI HttpSetBearerTokenA(HCLIENT hClient, LPCSTR lpszBearerToken) QV_NOEXCEPT {
  return HttpAuthenticateA(hClient, HTTP_AUTH_BEARER, nullptr, lpszBearerToken);
}

INT WINAPI HttpGetBearerTokenA(HCLIENT hClient, LPSTR lpszBearerToken, INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (lpszBearerToken == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    if (nMaxLength < 1) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    *lpszBearerToken = '\0';
    qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Validate(hClient);
    if (!session) return session.error();
    const qv::Credentials& credentials = (*session)->credentials;
    if (credentials.type != HTTP_AUTH_BEARER) return 0;
    if (credentials.password.size() >= static_cast<std::size_t>(nMaxLength)) {
      return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    }
    return qv::CopyText(credentials.password, lpszBearerToken, nMaxLength);
  });
}
