// W forms of the functions on URLs and host names.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"
#include "url/quiet_boundary.h"
#include "url/url_composer.h"
#include "url/url_parser.h"
#include "url/url_record.h"

namespace {

constexpr INT kAddressCapacity = 64;

}  // namespace

DWORD WINAPI HttpCheckUrlW(LPCWSTR lpszURL) QV_NOEXCEPT {
  return qv::QuietBoundary<DWORD>(0, [&] { return HttpCheckUrlA(qv::NarrowText(lpszURL)); });
}

BOOL WINAPI HttpParseUrlW(LPCWSTR lpszURL, DWORD dwOptions,
                          LPHTTPURLCOMPONENTSW* lppUrl) QV_NOEXCEPT {
  if (lppUrl == nullptr) return FALSE;
  *lppUrl = nullptr;
  return qv::QuietBoundary<BOOL>(FALSE, [&]() -> BOOL {
    if (lpszURL == nullptr) return FALSE;
    const std::u16string_view text = lpszURL;
    const std::optional<qv::Url> url = qv::ParseUrl(qv::Utf8FromWide(text), dwOptions);
    if (url) *lppUrl = qv::NewUrlRecordW(*url, text.size());
    return *lppUrl != nullptr;
  });
}

BOOL WINAPI HttpFreeUrlW(LPHTTPURLCOMPONENTSW lpUrl) QV_NOEXCEPT {
  return qv::FreeUrlRecord(lpUrl);
}

INT WINAPI HttpCreateUrlW(LPHTTPURLCOMPONENTSW lpUrl, DWORD dwOptions, LPWSTR lpszURL,
                          INT nMaxLength) QV_NOEXCEPT {
  qv::CopyWide(u"", lpszURL, nMaxLength);
  if (lpUrl == nullptr || lpszURL == nullptr || nMaxLength <= 0) return 0;
  return qv::QuietBoundary<INT>(0, [&]() -> INT {
    const std::optional<std::string> text =
        qv::CreateUrl(qv::UrlOfRecord(*lpUrl), dwOptions, nMaxLength);
    return qv::CopyWide(qv::WideFromUtf8(text.value_or("")), lpszURL, nMaxLength);
  });
}

BOOL WINAPI HttpValidateUrlW(LPCWSTR lpszURL) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] { return HttpValidateUrlA(qv::NarrowText(lpszURL)); });
}

BOOL WINAPI HttpValidateHostNameW(LPCWSTR lpszHostName, LPWSTR lpszAddress,
                                  INT nMaxLength) QV_NOEXCEPT {
  qv::CopyWide(u"", lpszAddress, nMaxLength);
  return qv::TwinBoundary<BOOL>(FALSE, [&]() -> BOOL {
    char address[kAddressCapacity] = {};
    const bool wanted = lpszAddress != nullptr && nMaxLength >= 1;
    if (!HttpValidateHostNameA(qv::NarrowText(lpszHostName), wanted ? address : nullptr,
                               wanted ? kAddressCapacity : 0)) {
      return FALSE;
    }
    qv::CopyWide(qv::WideFromUtf8(address), lpszAddress, nMaxLength);
    return TRUE;
  });
}
