// Exported functions: URLs.
#include <algorithm>

#include "frame/boundary.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "transport/resolver.h"
#include "url/url_composer.h"
#include "url/url_parser.h"
#include "url/url_record.h"

namespace {

constexpr std::size_t kLongestHostName = 1024;
constexpr std::size_t kShortestUrl = 7;
constexpr std::size_t kLongestAddress = 63;

// The host of a name that may be a URL.
qv::Result<std::string> HostOf(std::string_view name) {
  if (qv::CheckUrl(name) == 0) return std::string(name);
  const std::optional<qv::Url> url = qv::ParseUrl(name, HTTP_URLOPT_NORMALIZE);
  if (!url) return qv::Error(QV_ERROR_INVALID_HOSTNAME);
  return url->host;
}

}  // namespace

DWORD WINAPI HttpCheckUrlA(LPCSTR lpszURL) QV_NOEXCEPT { return qv::CheckUrl(qv::TextOf(lpszURL)); }

BOOL WINAPI HttpParseUrlA(LPCSTR lpszURL, DWORD dwOptions,
                          LPHTTPURLCOMPONENTSA* lppUrl) QV_NOEXCEPT {
  if (lppUrl == nullptr) return FALSE;
  *lppUrl = nullptr;
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    const std::optional<qv::Url> url = qv::ParseUrl(qv::TextOf(lpszURL), dwOptions);
    if (!url) return FALSE;
    *lppUrl = qv::MakeUrlRecord(*url, qv::TextOf(lpszURL).size());
    return *lppUrl != nullptr ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpFreeUrlA(LPHTTPURLCOMPONENTSA lpUrl) QV_NOEXCEPT {
  return lpUrl != nullptr && LocalFree(lpUrl) == nullptr ? TRUE : FALSE;
}

INT WINAPI HttpCreateUrlA(LPHTTPURLCOMPONENTSA lpUrl, DWORD dwOptions, LPSTR lpszURL,
                          INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(0, [&]() -> qv::Result<INT> {
    if (lpUrl == nullptr || lpszURL == nullptr || nMaxLength <= 0) return 0;
    const std::optional<std::string> text =
        qv::CreateUrl(qv::UrlOfRecord(*lpUrl), dwOptions, nMaxLength);
    return text ? qv::CopyText(*text, lpszURL, nMaxLength) : 0;
  });
}

BOOL WINAPI HttpValidateUrlA(LPCSTR lpszURL) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    const std::string_view text = qv::TrimLeft(qv::TextOf(lpszURL));
    const bool known = text.size() >= kShortestUrl && (qv::StartsWithNoCase(text, "http://") ||
                                                       qv::StartsWithNoCase(text, "https://"));
    if (!known) return qv::Error(QV_ERROR_INVALID_RESOURCE);
    const std::optional<qv::Url> url = qv::ParseUrl(text, HTTP_URLOPT_NORMALIZE);
    if (!url) return qv::Error(QV_ERROR_INVALID_RESOURCE);
    qv::Result<qv::InternetAddress> address = qv::ResolveHost(url->host.c_str(), 0);
    if (!address) return address.error();
    return TRUE;
  });
}

BOOL WINAPI HttpValidateHostNameA(LPCSTR lpszHostName, LPSTR lpszAddress,
                                  INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    qv::CopyText({}, lpszAddress, nMaxLength);
    const std::string_view name = qv::TextOf(lpszHostName);
    if (name.empty() || name.size() > kLongestHostName) return qv::Error(QV_ERROR_INVALID_HOSTNAME);
    qv::Result<std::string> host = HostOf(name);
    if (!host) return host.error();
    qv::Result<qv::InternetAddress> address = qv::ResolveHost(host->c_str(), 0);
    if (!address) return address.error();
    if (lpszAddress == nullptr || nMaxLength < 1) return TRUE;
    const std::optional<std::string> text = qv::AddressToText(address->family, address->bytes);
    if (!text || text->size() > kLongestAddress) return qv::Error(QV_ERROR_INVALID_HOSTADDRESS);
    qv::CopyText(*text, lpszAddress, nMaxLength);
    return TRUE;
  });
}
