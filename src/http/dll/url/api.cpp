// Exported functions: URLs and host names.
#include "frame/boundary.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "qvhttp12.h"
#include "url/quiet_boundary.h"
#include "url/url_composer.h"
#include "url/url_parser.h"
#include "url/url_record.h"
#include "url/validation.h"

DWORD WINAPI HttpCheckUrlA(LPCSTR lpszURL) QV_NOEXCEPT { return qv::CheckUrl(qv::TextOf(lpszURL)); }

BOOL WINAPI HttpParseUrlA(LPCSTR lpszURL, DWORD dwOptions,
                          LPHTTPURLCOMPONENTSA* lppUrl) QV_NOEXCEPT {
  if (lppUrl == nullptr) return FALSE;
  *lppUrl = nullptr;
  return qv::QuietBoundary<BOOL>(FALSE, [&]() -> BOOL {
    const std::string_view text = qv::TextOf(lpszURL);
    const std::optional<qv::Url> url = qv::ParseUrl(text, dwOptions);
    if (url) *lppUrl = qv::NewUrlRecordA(*url, text.size());
    return *lppUrl != nullptr;
  });
}

BOOL WINAPI HttpFreeUrlA(LPHTTPURLCOMPONENTSA lpUrl) QV_NOEXCEPT {
  return qv::FreeUrlRecord(lpUrl);
}

INT WINAPI HttpCreateUrlA(LPHTTPURLCOMPONENTSA lpUrl, DWORD dwOptions, LPSTR lpszURL,
                          INT nMaxLength) QV_NOEXCEPT {
  if (lpUrl == nullptr || lpszURL == nullptr || nMaxLength <= 0) return 0;
  return qv::QuietBoundary<INT>(0, [&]() -> INT {
    const std::optional<std::string> text =
        qv::CreateUrl(qv::UrlOfRecord(*lpUrl), dwOptions, nMaxLength);
    return qv::CopyText(text.value_or(""), lpszURL, nMaxLength);
  });
}

BOOL WINAPI HttpValidateUrlA(LPCSTR lpszURL) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (qv::Error error = qv::ValidateUrl(qv::TextOf(lpszURL))) return error;
    return TRUE;
  });
}

BOOL WINAPI HttpValidateHostNameA(LPCSTR lpszHostName, LPSTR lpszAddress,
                                  INT nMaxLength) QV_NOEXCEPT {
  qv::CopyText("", lpszAddress, nMaxLength);
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    const qv::Result<qv::InternetAddress> address = qv::ValidateHostName(qv::TextOf(lpszHostName));
    if (!address) return address.error();
    if (lpszAddress == nullptr || nMaxLength < 1) return TRUE;
    const auto text = qv::AddressToText(address->family, address->bytes);
    if (!text) return qv::Error(QV_ERROR_INVALID_HOSTADDRESS);
    qv::CopyText(*text, lpszAddress, nMaxLength);
    return TRUE;
  });
}
