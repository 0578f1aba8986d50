// W forms of the library frame's functions.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"

BOOL WINAPI HttpInitializeW(LPCWSTR lpszReserved, DWORD_PTR dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(
      FALSE, [&] { return HttpInitializeA(qv::NarrowText(lpszReserved), dwReserved); });
}

INT WINAPI HttpGetErrorStringW(DWORD dwError, LPWSTR lpszError, INT nMaxLength) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(0, [&]() -> INT {
    if (lpszError == nullptr || nMaxLength <= 0) {
      const INT length = HttpGetErrorStringA(dwError, nullptr, 0);
      return lpszError == nullptr ? length : 0;
    }
    qv::NarrowBuffer text(lpszError, nMaxLength);
    HttpGetErrorStringA(dwError, text.data(), text.capacity());
    return qv::CopyWide(qv::WideFromUtf8(text.text()), lpszError, nMaxLength);
  });
}
