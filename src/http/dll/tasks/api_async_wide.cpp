// W forms of the functions that start tasks: text goes to the worker as UTF-8.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"

using qv::NarrowText;
using qv::TwinBoundary;

DWORD WINAPI HttpAsyncGetFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                               DWORD dwOptions, DWORD dwOffset, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncGetFileA(hClient, NarrowText(lpszLocalFile), NarrowText(lpszRemoteFile),
                             dwOptions, dwOffset, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncGetFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                 DWORD dwOptions, ULONGLONG qwOffset, HTTPEVENTPROC lpEventProc,
                                 DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncGetFileExA(hClient, NarrowText(lpszLocalFile), NarrowText(lpszRemoteFile),
                               dwOptions, qwOffset, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPutFileW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                               DWORD dwOptions, DWORD dwOffset, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPutFileA(hClient, NarrowText(lpszLocalFile), NarrowText(lpszRemoteFile),
                             dwOptions, dwOffset, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPutFileExW(HCLIENT hClient, LPCWSTR lpszLocalFile, LPCWSTR lpszRemoteFile,
                                 DWORD dwOptions, ULONGLONG qwOffset, HTTPEVENTPROC lpEventProc,
                                 DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPutFileExA(hClient, NarrowText(lpszLocalFile), NarrowText(lpszRemoteFile),
                               dwOptions, qwOffset, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncGetDataW(HCLIENT hClient, LPCWSTR lpszResource, LPVOID lpvBuffer,
                               LPDWORD lpdwLength, DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncGetDataA(hClient, NarrowText(lpszResource), lpvBuffer, lpdwLength, dwOptions,
                             lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPutDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                               DWORD dwLength, DWORD dwReserved, HTTPEVENTPROC lpEventProc,
                               DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPutDataA(hClient, NarrowText(lpszResource), lpvBuffer, dwLength, dwReserved,
                             lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPostDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer,
                                DWORD cbBuffer, LPVOID lpvResult, LPDWORD lpcbResult,
                                DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                                DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPostDataA(hClient, NarrowText(lpszResource), lpvBuffer, cbBuffer, lpvResult,
                              lpcbResult, dwOptions, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPostJsonW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszJsonData,
                                LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPostJsonA(hClient, NarrowText(lpszResource), NarrowText(lpszJsonData),
                              lpvResult, lpcbResult, dwOptions, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPostTextW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszTextData,
                                LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                                HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPostTextA(hClient, NarrowText(lpszResource), NarrowText(lpszTextData),
                              lpvResult, lpcbResult, dwOptions, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncPostXmlW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszXmlData,
                               LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions,
                               HTTPEVENTPROC lpEventProc, DWORD_PTR dwParam) QV_NOEXCEPT {
  return TwinBoundary<DWORD>(0, [&] {
    return HttpAsyncPostXmlA(hClient, NarrowText(lpszResource), NarrowText(lpszXmlData), lpvResult,
                             lpcbResult, dwOptions, lpEventProc, dwParam);
  });
}

DWORD WINAPI HttpAsyncSubmitFormW(HCLIENT hClient, HFORM hForm, LPVOID lpvResult,
                                  LPDWORD lpcbResult, DWORD dwOptions, HTTPEVENTPROC lpEventProc,
                                  DWORD_PTR dwParam) QV_NOEXCEPT {
  return HttpAsyncSubmitFormA(hClient, hForm, lpvResult, lpcbResult, dwOptions, lpEventProc,
                              dwParam);
}
