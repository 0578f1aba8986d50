// W forms of the file transfer functions.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"

INT WINAPI HttpGetFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                        DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpGetFileA(hClient, qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszRemoteFile),
                        dwOptions, dwReserved);
  });
}

INT WINAPI HttpGetFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                          DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpGetFileExA(hClient, qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszRemoteFile),
                          dwOptions, qwOffset);
  });
}

INT WINAPI HttpPutFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                        DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPutFileA(hClient, qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszRemoteFile),
                        dwOptions, dwReserved);
  });
}

INT WINAPI HttpPutFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                          DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPutFileExA(hClient, qv::NarrowText(lpszLocalFile), qv::NarrowText(lpszRemoteFile),
                          dwOptions, qwOffset);
  });
}

INT WINAPI HttpPostFileW(HCLIENT hClient, LPCWSTR lpszFileName, LPCWSTR lpszResource,
                         LPCWSTR lpszFieldName, DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPostFileA(hClient, qv::NarrowText(lpszFileName), qv::NarrowText(lpszResource),
                         qv::NarrowText(lpszFieldName), dwOptions, dwReserved);
  });
}
