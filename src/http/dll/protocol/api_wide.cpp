// W forms of the protocol engine's functions, but for headers and cookies.
#include <optional>

#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"
#include "tls/credentials_record.h"

namespace {

// What becomes of a text that does not fit the caller's buffer.
enum class Overlong { kCut, kFail };

// Calls an A form that writes a text into a buffer and returns its length.
template <class Call>
INT WideText(LPWSTR target, INT capacity, Overlong overlong, Call&& call) {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (target != nullptr && capacity > 0) *target = u'\0';
    qv::NarrowBuffer buffer(target, capacity);
    const INT result = call(buffer.data(), buffer.capacity());
    if (result <= 0 || target == nullptr) return result;
    const std::u16string text = qv::WideFromUtf8(buffer.text());
    if (overlong == Overlong::kFail && text.size() >= static_cast<std::size_t>(capacity)) {
      return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    }
    return qv::CopyWide(text, target, capacity);
  });
}

}  // namespace

HCLIENT WINAPI HttpAsyncConnectW(LPCWSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                                 DWORD dwOptions, DWORD dwVersion,
                                 LPSECURITYCREDENTIALSW lpCredentials, HWND hEventWnd,
                                 UINT uEventMsg) QV_NOEXCEPT {
  return qv::Boundary<HCLIENT>(INVALID_CLIENT, [&]() -> qv::Result<HCLIENT> {
    if (lpCredentials != nullptr && lpCredentials->dwSize < sizeof(*lpCredentials)) {
      return qv::Error(QV_ERROR_INVALID_PARAMETER);
    }
    std::optional<qv::NarrowCredentials> credentials;
    if (lpCredentials != nullptr) credentials.emplace(*lpCredentials);
    const HCLIENT client = HttpAsyncConnectA(
        qv::NarrowText(lpszRemoteHost), nRemotePort, nTimeout, dwOptions, dwVersion,
        credentials ? credentials->get() : nullptr, hEventWnd, uEventMsg);
    if (credentials) lpCredentials->dwProtocol = credentials->get()->dwProtocol;
    return client;
  });
}

HCLIENT WINAPI HttpConnectW(LPCWSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                            DWORD dwOptions, DWORD dwVersion,
                            LPSECURITYCREDENTIALSW lpCredentials) QV_NOEXCEPT {
  return HttpAsyncConnectW(lpszRemoteHost, nRemotePort, nTimeout, dwOptions, dwVersion,
                           lpCredentials, nullptr, 0);
}

HCLIENT WINAPI HttpConnectUrlW(LPCWSTR lpszURL, UINT nTimeout, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<HCLIENT>(INVALID_CLIENT, [&] {
    return HttpConnectUrlA(qv::NarrowText(lpszURL), nTimeout, dwOptions);
  });
}

INT WINAPI HttpGetResourceUrlW(HCLIENT hClient, LPWSTR lpszResource, INT nMaxLength) QV_NOEXCEPT {
  return WideText(lpszResource, nMaxLength, Overlong::kFail, [&](LPSTR text, INT capacity) {
    return HttpGetResourceUrlA(hClient, text, capacity);
  });
}

INT WINAPI HttpGetRedirectUrlW(HCLIENT hClient, LPWSTR lpszResource, INT nMaxLength) QV_NOEXCEPT {
  return WideText(lpszResource, nMaxLength, Overlong::kFail, [&](LPSTR text, INT capacity) {
    return HttpGetRedirectUrlA(hClient, text, capacity);
  });
}

INT WINAPI HttpGetContentTypeW(HCLIENT hClient, LPWSTR lpszContentType,
                               INT nMaxLength) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_CONTENT_UNKNOWN, [&] {
    qv::NarrowBuffer type(lpszContentType, nMaxLength);
    const INT content_class = HttpGetContentTypeA(hClient, type.data(), type.capacity());
    qv::CopyWide(qv::WideFromUtf8(type.text()), lpszContentType, nMaxLength);
    return content_class;
  });
}

BOOL WINAPI HttpSetContentTypeW(HCLIENT hClient, LPCWSTR lpszContentType) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(
      FALSE, [&] { return HttpSetContentTypeA(hClient, qv::NarrowText(lpszContentType)); });
}

INT WINAPI HttpGetResultStringW(HCLIENT hClient, LPWSTR lpszMessage, INT cchMessage) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(0, [&] {
    qv::NarrowBuffer text(lpszMessage, cchMessage);
    HttpGetResultStringA(hClient, text.data(), text.capacity());
    return qv::CopyWide(qv::WideFromUtf8(text.text()), lpszMessage, cchMessage);
  });
}

INT WINAPI HttpCommandW(HCLIENT hClient, LPCWSTR lpszCommand, LPCWSTR lpszFileName,
                        LPCVOID lpParameter, DWORD cbParameter, DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpCommandA(hClient, qv::NarrowText(lpszCommand), qv::NarrowText(lpszFileName),
                        lpParameter, cbParameter, dwReserved);
  });
}

INT WINAPI HttpAuthenticateW(HCLIENT hClient, UINT idMethod, LPCWSTR lpszUserName,
                             LPCWSTR lpszPassword) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpAuthenticateA(hClient, idMethod, qv::NarrowText(lpszUserName),
                             qv::NarrowText(lpszPassword));
  });
}

INT WINAPI HttpSetBearerTokenW(HCLIENT hClient, LPCWSTR lpszBearerToken) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(
      HTTP_ERROR, [&] { return HttpSetBearerTokenA(hClient, qv::NarrowText(lpszBearerToken)); });
}

INT WINAPI HttpGetBearerTokenW(HCLIENT hClient, LPWSTR lpszBearerToken,
                               INT nMaxLength) QV_NOEXCEPT {
  return WideText(lpszBearerToken, nMaxLength, Overlong::kFail, [&](LPSTR text, INT capacity) {
    return HttpGetBearerTokenA(hClient, text, capacity);
  });
}
