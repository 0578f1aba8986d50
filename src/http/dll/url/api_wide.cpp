// W forms of the URL functions.
#include <algorithm>

#include "frame/boundary.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "url/url_parser.h"
#include "url/url_record.h"

namespace {

constexpr INT kMostCharacters = 5119;
constexpr INT kAddressCapacity = 64;

}  // namespace

DWORD WINAPI HttpCheckUrlW(LPCWSTR lpszURL) QV_NOEXCEPT {
  return qv::TwinBoundary<DWORD>(0, [&] { return HttpCheckUrlA(qv::NarrowText(lpszURL)); });
}

BOOL WINAPI HttpParseUrlW(LPCWSTR lpszURL, DWORD dwOptions,
                          LPHTTPURLCOMPONENTSW* lppUrl) QV_NOEXCEPT {
  if (lppUrl == nullptr) return FALSE;
  *lppUrl = nullptr;
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (lpszURL == nullptr) return FALSE;
    const std::optional<qv::Url> url = qv::ParseUrl(qv::Utf8FromWide(lpszURL), dwOptions);
    if (!url) return FALSE;
    *lppUrl = qv::MakeWideUrlRecord(*url, static_cast<std::size_t>(lstrlenW(lpszURL)));
    return *lppUrl != nullptr ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpFreeUrlW(LPHTTPURLCOMPONENTSW lpUrl) QV_NOEXCEPT {
  return lpUrl != nullptr && LocalFree(lpUrl) == nullptr ? TRUE : FALSE;
}

INT WINAPI HttpCreateUrlW(LPHTTPURLCOMPONENTSW lpUrl, DWORD dwOptions, LPWSTR lpszURL,
                          INT nMaxLength) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(0, [&]() -> INT {
    if (lpszURL == nullptr || nMaxLength <= 0) return 0;
    *lpszURL = u'\0';
    if (lpUrl == nullptr) return 0;
    std::string host = lpUrl->lpszHostName ? qv::Utf8FromWide(lpUrl->lpszHostName) : "";
    std::string resource = lpUrl->lpszResource ? qv::Utf8FromWide(lpUrl->lpszResource) : "";
    std::string query = lpUrl->lpszQuery ? qv::Utf8FromWide(lpUrl->lpszQuery) : "";
    std::string user = lpUrl->lpszUserName ? qv::Utf8FromWide(lpUrl->lpszUserName) : "";
    std::string password = lpUrl->lpszPassword ? qv::Utf8FromWide(lpUrl->lpszPassword) : "";
    HTTPURLCOMPONENTSA narrow{lpUrl->nScheme, lpUrl->nPort, host.data(),    resource.data(),
                              query.data(),   user.data(),  password.data()};
    std::string text(static_cast<std::size_t>(std::min(nMaxLength, kMostCharacters)) + 1, '\0');
    const INT length =
        HttpCreateUrlA(&narrow, dwOptions, text.data(), static_cast<INT>(text.size()));
    text.resize(static_cast<std::size_t>(length));
    return qv::CopyWide(qv::WideFromUtf8(text), lpszURL, nMaxLength);
  });
}

BOOL WINAPI HttpValidateUrlW(LPCWSTR lpszURL) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] { return HttpValidateUrlA(qv::NarrowText(lpszURL)); });
}

BOOL WINAPI HttpValidateHostNameW(LPCWSTR lpszHostName, LPWSTR lpszAddress,
                                  INT nMaxLength) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    char address[kAddressCapacity];
    const BOOL valid =
        HttpValidateHostNameA(qv::NarrowText(lpszHostName), address, kAddressCapacity);
    qv::CopyWide(qv::WideFromUtf8(address), lpszAddress, nMaxLength);
    return valid;
  });
}
