// Exported functions: cookies and the default user agent.
#include <algorithm>

#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "protocol/headers.h"
#include "protocol/user_agent.h"
#include "url/http_date.h"

namespace {

constexpr std::size_t kLongestCookieHeader = 16383;
constexpr DWORD_PTR kNowhere = ~DWORD_PTR{0};  // a position that no cookie has
constexpr INT kUserAgentSpare = 1;  // a copy needs one character more than the terminator

// Gives one text of a cookie; false when a buffer comes without its length variable.
bool Report(std::string_view text, LPSTR target, LPINT length) {
  if (length == nullptr) return target == nullptr;
  const INT capacity = *length;
  *length = target != nullptr ? qv::CopyText(text, target, capacity) : 0;
  return true;
}

// Positions count from 1, so that 0 can mean the end.
qv::Result<DWORD_PTR> ReportCookie(const qv::Session& session, DWORD_PTR position, LPSTR name,
                                   LPINT name_length, LPSTR value, LPINT value_length) {
  const qv::Cookie* cookie = session.cookies.At(position);
  if (cookie == nullptr) {
    Report({}, name, name_length);
    Report({}, value, value_length);
    if (name_length != nullptr) *name_length = 0;
    if (value_length != nullptr) *value_length = 0;
    return DWORD_PTR{0};
  }
  if (!Report(cookie->name, name, name_length) || !Report(cookie->value, value, value_length)) {
    return DWORD_PTR{0};
  }
  return position + 1;
}

}  // namespace

DWORD_PTR WINAPI HttpGetFirstCookieA(HCLIENT hClient, LPSTR lpszName, LPINT lpcchName,
                                     LPSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<DWORD_PTR>(hClient, 0, [&](qv::Session& session) {
    session.cookies.Build(session.response.headers);
    return ReportCookie(session, 0, lpszName, lpcchName, lpszValue, lpcchValue);
  });
}

DWORD_PTR WINAPI HttpGetNextCookieA(HCLIENT hClient, DWORD_PTR dwCookie, LPSTR lpszCookieName,
                                    LPINT lpnCookieName, LPSTR lpszCookieValue,
                                    LPINT lpnCookieValue) QV_NOEXCEPT {
  return qv::SessionBoundary<DWORD_PTR>(
      hClient, 0, [&](qv::Session& session) -> qv::Result<DWORD_PTR> {
        const DWORD_PTR position = dwCookie != 0 ? dwCookie : kNowhere;
        return ReportCookie(session, position, lpszCookieName, lpnCookieName, lpszCookieValue,
                            lpnCookieValue);
      });
}

BOOL WINAPI HttpGetCookieA(HCLIENT hClient, LPCSTR lpszCookieName, LPSTR lpszCookieValue,
                           INT nCookieValue, LPSTR lpszCookiePath, INT nCookiePath,
                           LPSTR lpszCookieDomain, INT nCookieDomain,
                           LPSYSTEMTIME lpstCookieExpires, LPDWORD lpdwCookieFlags) QV_NOEXCEPT {
  qv::CopyText({}, lpszCookieValue, nCookieValue);
  qv::CopyText({}, lpszCookiePath, nCookiePath);
  qv::CopyText({}, lpszCookieDomain, nCookieDomain);
  if (lpstCookieExpires != nullptr) *lpstCookieExpires = SYSTEMTIME{};
  if (lpdwCookieFlags != nullptr) *lpdwCookieFlags = 0;
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    if (!session.cookies.built()) session.cookies.Build(session.response.headers);
    const qv::Cookie* cookie = session.cookies.Find(qv::TextOf(lpszCookieName));
    if (cookie == nullptr) return FALSE;
    qv::CopyText(cookie->value, lpszCookieValue, nCookieValue);
    qv::CopyText(cookie->path, lpszCookiePath, nCookiePath);
    qv::CopyText(cookie->domain, lpszCookieDomain, nCookieDomain);
    const bool expires = (cookie->flags & HTTP_COOKIE_SESSION) == 0;
    if (lpstCookieExpires != nullptr && expires) {
      qv::SecondsToCalendar(cookie->expires, lpstCookieExpires);
    }
    if (lpdwCookieFlags != nullptr) *lpdwCookieFlags = cookie->flags;
    return TRUE;
  });
}

BOOL WINAPI HttpSetCookieA(HCLIENT hClient, LPCSTR lpszCookieName,
                           LPCSTR lpszCookieValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    const std::string_view name = qv::TextOf(lpszCookieName);
    const std::string_view value = qv::TextOf(lpszCookieValue);
    if (name.empty()) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    const qv::HeaderEntry* current = session.request.headers.Find("Cookie");
    if (current != nullptr && current->value.size() > kLongestCookieHeader) current = nullptr;
    if (current != nullptr && current->origin &&
        !qv::MaySendCredentials(*current->origin, qv::OriginOf(session))) {
      current = nullptr;  // cookies of another server do not become this one's
    }
    if (current == nullptr && value.empty()) return TRUE;
    const std::string header =
        qv::ChangeCookieHeader(current != nullptr ? current->value : "", name, value);
    if (header.empty()) {
      session.request.headers.Remove("Cookie");
      return TRUE;
    }
    if (qv::Error error = qv::SetRequestHeader(session, "Cookie", header)) return error;
    return TRUE;
  });
}

INT WINAPI HttpGetDefaultUserAgentA(LPSTR lpszUserAgent, INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (lpszUserAgent == nullptr) return qv::Error(QV_ERROR_INVALID_BUFFER);
    if (nMaxLength < 1) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    const INT capacity = std::min(nMaxLength, static_cast<INT>(qv::kUserAgentCapacity));
    const std::string text = qv::DefaultUserAgent();
    if (static_cast<INT>(text.size()) >= capacity - kUserAgentSpare) {
      return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    }
    return qv::CopyText(text, lpszUserAgent, capacity);
  });
}

BOOL WINAPI HttpSetDefaultUserAgentA(LPCSTR lpszUserAgent) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    const std::string_view text = qv::TrimLeft(qv::TextOf(lpszUserAgent));
    if (text.size() >= qv::kUserAgentCapacity) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    if (text.find_first_of("\r\n") != text.npos) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    qv::SetDefaultUserAgent(text);
    return TRUE;
  });
}
