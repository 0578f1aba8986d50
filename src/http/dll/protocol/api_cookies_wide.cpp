// W forms of the cookie and user agent functions.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"

namespace {

// One text output of a cookie, with the capacity and length variable that come with it.
class CookieText {
 public:
  CookieText(LPWSTR target, LPINT length)
      : target_(target),
        length_(length),
        capacity_(length != nullptr ? *length : 0),
        buffer_(target, capacity_),
        bytes_(buffer_.capacity()) {}

  LPSTR text() { return buffer_.data(); }
  LPINT length() { return length_ != nullptr ? &bytes_ : nullptr; }

  void Deliver() {
    if (length_ == nullptr) return;
    *length_ = qv::CopyWide(qv::WideFromUtf8(buffer_.text()), target_, capacity_);
  }

 private:
  LPWSTR target_;
  LPINT length_;
  INT capacity_;
  qv::NarrowBuffer buffer_;
  INT bytes_;
};

template <class Call>
DWORD_PTR ReportCookie(LPWSTR name, LPINT name_length, LPWSTR value, LPINT value_length,
                       Call&& call) {
  return qv::TwinBoundary<DWORD_PTR>(0, [&] {
    CookieText name_text(name, name_length);
    CookieText value_text(value, value_length);
    const DWORD_PTR position =
        call(name_text.text(), name_text.length(), value_text.text(), value_text.length());
    name_text.Deliver();
    value_text.Deliver();
    return position;
  });
}

}  // namespace

DWORD_PTR WINAPI HttpGetFirstCookieW(HCLIENT hClient, LPWSTR lpszName, LPINT lpcchName,
                                     LPWSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT {
  return ReportCookie(lpszName, lpcchName, lpszValue, lpcchValue,
                      [&](LPSTR name, LPINT name_length, LPSTR value, LPINT value_length) {
                        return HttpGetFirstCookieA(hClient, name, name_length, value, value_length);
                      });
}

DWORD_PTR WINAPI HttpGetNextCookieW(HCLIENT hClient, DWORD_PTR dwCookie, LPWSTR lpszCookieName,
                                    LPINT lpnCookieName, LPWSTR lpszCookieValue,
                                    LPINT lpnCookieValue) QV_NOEXCEPT {
  return ReportCookie(lpszCookieName, lpnCookieName, lpszCookieValue, lpnCookieValue,
                      [&](LPSTR name, LPINT name_length, LPSTR value, LPINT value_length) {
                        return HttpGetNextCookieA(hClient, dwCookie, name, name_length, value,
                                                  value_length);
                      });
}

BOOL WINAPI HttpGetCookieW(HCLIENT hClient, LPCWSTR lpszCookieName, LPWSTR lpszCookieValue,
                           INT nCookieValue, LPWSTR lpszCookiePath, INT nCookiePath,
                           LPWSTR lpszCookieDomain, INT nCookieDomain,
                           LPSYSTEMTIME lpstCookieExpires, LPDWORD lpdwCookieFlags) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    qv::NarrowBuffer value(lpszCookieValue, nCookieValue);
    qv::NarrowBuffer path(lpszCookiePath, nCookiePath);
    qv::NarrowBuffer domain(lpszCookieDomain, nCookieDomain);
    const BOOL found = HttpGetCookieA(hClient, qv::NarrowText(lpszCookieName), value.data(),
                                      value.capacity(), path.data(), path.capacity(), domain.data(),
                                      domain.capacity(), lpstCookieExpires, lpdwCookieFlags);
    qv::CopyWide(qv::WideFromUtf8(value.text()), lpszCookieValue, nCookieValue);
    qv::CopyWide(qv::WideFromUtf8(path.text()), lpszCookiePath, nCookiePath);
    qv::CopyWide(qv::WideFromUtf8(domain.text()), lpszCookieDomain, nCookieDomain);
    return found;
  });
}

BOOL WINAPI HttpSetCookieW(HCLIENT hClient, LPCWSTR lpszCookieName,
                           LPCWSTR lpszCookieValue) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpSetCookieA(hClient, qv::NarrowText(lpszCookieName), qv::NarrowText(lpszCookieValue));
  });
}

INT WINAPI HttpGetDefaultUserAgentW(LPWSTR lpszUserAgent, INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    qv::NarrowBuffer buffer(lpszUserAgent, nMaxLength);
    const INT result =
        HttpGetDefaultUserAgentA(buffer.data(), nMaxLength < 1 ? nMaxLength : buffer.capacity());
    if (result == HTTP_ERROR) return qv::Error();
    const std::u16string text = qv::WideFromUtf8(buffer.text());
    if (static_cast<INT>(text.size()) >= nMaxLength - 1) {
      return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    }
    return qv::CopyWide(text, lpszUserAgent, nMaxLength);
  });
}

BOOL WINAPI HttpSetDefaultUserAgentW(LPCWSTR lpszUserAgent) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(
      FALSE, [&] { return HttpSetDefaultUserAgentA(qv::NarrowText(lpszUserAgent)); });
}
