// Exported functions: the URLs and content type of a session.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "protocol/headers.h"
#include "protocol/session_urls.h"
#include "url/content_type.h"

namespace {

constexpr std::size_t kLongestContentType = 1023;

// Gives a URL to a caller who may have no buffer: its length, or QV_ERROR_BUFFER_TOO_SMALL.
qv::Result<INT> Deliver(const std::optional<std::string>& url, LPSTR target, INT capacity) {
  if (!url) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
  const auto length = static_cast<INT>(url->size());
  if (target == nullptr) return length;
  if (length >= capacity) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
  return qv::CopyText(*url, target, capacity);
}

void Empty(LPSTR target, INT capacity) { qv::CopyText("", target, capacity); }

}  // namespace

INT WINAPI HttpGetResourceUrlA(HCLIENT hClient, LPSTR lpszResource, INT nMaxLength) QV_NOEXCEPT {
  Empty(lpszResource, nMaxLength);
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    const INT capacity = lpszResource != nullptr ? nMaxLength : qv::kUrlCapacity;
    return Deliver(qv::ResourceUrlOf(session, capacity), lpszResource, nMaxLength);
  });
}

INT WINAPI HttpGetRedirectUrlA(HCLIENT hClient, LPSTR lpszResource, INT nMaxLength) QV_NOEXCEPT {
  Empty(lpszResource, nMaxLength);
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    const std::optional<std::string> url = qv::RedirectUrlOf(session);
    if (url && url->empty()) return qv::Result<INT>(0);
    return Deliver(url, lpszResource, nMaxLength);
  });
}

INT WINAPI HttpGetContentTypeA(HCLIENT hClient, LPSTR lpszContentType, INT nMaxLength) QV_NOEXCEPT {
  Empty(lpszContentType, nMaxLength);
  return qv::SessionBoundary<INT>(
      hClient, HTTP_CONTENT_UNKNOWN, [&](qv::Session& session) -> qv::Result<INT> {
        const auto type = qv::ResponseField(session, "Content-Type", kLongestContentType);
        if (!type) return HTTP_CONTENT_UNKNOWN;
        qv::CopyText(*type, lpszContentType, nMaxLength);
        return qv::ClassifyContentType(*type);
      });
}

BOOL WINAPI HttpSetContentTypeA(HCLIENT hClient, LPCSTR lpszContentType) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    const std::string_view type = qv::TrimLeft(qv::TextOf(lpszContentType));
    if (type.empty()) {
      session.request.headers.Remove("Content-Type");
      return TRUE;
    }
    if (qv::ClassifyContentType(type) == HTTP_CONTENT_UNKNOWN) {
      return qv::Error(QV_ERROR_INVALID_PARAMETER);
    }
    if (qv::Error error = qv::SetRequestHeader(session, "Content-Type", type)) return error;
    return TRUE;
  });
}
