// W forms of the submission functions: the text goes out as UTF-8.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/wide.h"
#include "protocol/headers.h"
#include "transfer/submit_text.h"

INT WINAPI HttpPostDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer, DWORD cbBuffer,
                         LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPostDataA(hClient, qv::NarrowText(lpszResource), lpvBuffer, cbBuffer, lpvResult,
                         lpcbResult, dwOptions);
  });
}

INT WINAPI HttpPutDataExW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer, DWORD cbBuffer,
                          LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPutDataExA(hClient, qv::NarrowText(lpszResource), lpvBuffer, cbBuffer, lpvResult,
                          lpcbResult, dwOptions);
  });
}

INT WINAPI HttpPatchDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszPatchData,
                          LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPatchDataA(hClient, qv::NarrowText(lpszResource), qv::NarrowText(lpszPatchData),
                          lpvResult, lpcbResult, dwOptions);
  });
}

INT WINAPI HttpPutDataW(HCLIENT hClient, LPCWSTR lpszResource, LPCVOID lpvBuffer, DWORD dwLength,
                        DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPutDataA(hClient, qv::NarrowText(lpszResource), lpvBuffer, dwLength, dwReserved);
  });
}

INT WINAPI HttpPostJsonW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszJsonData,
                         LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPostJsonA(hClient, qv::NarrowText(lpszResource), qv::NarrowText(lpszJsonData),
                         lpvResult, lpcbResult, dwOptions);
  });
}

INT WINAPI HttpPostXmlW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszXmlData,
                        LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPostXmlA(hClient, qv::NarrowText(lpszResource), qv::NarrowText(lpszXmlData),
                        lpvResult, lpcbResult, dwOptions);
  });
}

INT WINAPI HttpPostTextW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszTextData,
                         LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpPostTextA(hClient, qv::NarrowText(lpszResource), qv::NarrowText(lpszTextData),
                         lpvResult, lpcbResult, dwOptions);
  });
}

INT WINAPI HttpPostTextExW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszTextData,
                           LPWSTR lpszResult, LPDWORD lpdwLength, UINT nCodePage,
                           DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        const qv::NarrowText resource(lpszResource);
        const qv::NarrowText text(lpszTextData);
        return qv::PostTextExWide(session, resource.view(), text.view(), lpszResult, lpdwLength,
                                  nCodePage, dwOptions);
      });
}

INT WINAPI HttpPutTextW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszBuffer) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (lpszBuffer == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
        if (qv::Error error =
                qv::SetRequestHeaderIfAbsent(session, "Content-Type", qv::kUtf8TextType)) {
          return error;
        }
        const INT result =
            HttpPutTextA(hClient, qv::NarrowText(lpszResource), qv::NarrowText(lpszBuffer));
        if (result == HTTP_ERROR) return qv::Error();
        return result;
      });
}

INT WINAPI HttpPutTextExW(HCLIENT hClient, LPCWSTR lpszResource, LPCWSTR lpszBuffer,
                          LPVOID lpvResult, LPDWORD lpcbResult, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (qv::Error error =
                qv::SetRequestHeaderIfAbsent(session, "Content-Type", qv::kUtf8TextType)) {
          return error;
        }
        const INT result =
            HttpPutTextExA(hClient, qv::NarrowText(lpszResource), qv::NarrowText(lpszBuffer),
                           lpvResult, lpcbResult, dwOptions);
        if (result == HTTP_ERROR) return qv::Error();
        return result;
      });
}
