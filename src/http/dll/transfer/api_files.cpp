// Exported functions: file transfers.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "transfer/file_transfer.h"

INT WINAPI HttpGetFileExA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                          DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::DownloadToFile(session, qv::TextOf(lpszLocalFile), qv::TextOf(lpszRemoteFile),
                              dwOptions, qwOffset);
  });
}

INT WINAPI HttpGetFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                        DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT {
  return HttpGetFileExA(hClient, lpszLocalFile, lpszRemoteFile, dwOptions, dwReserved);
}

INT WINAPI HttpPutFileExA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                          DWORD dwOptions, ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::UploadFromFile(session, qv::TextOf(lpszLocalFile), qv::TextOf(lpszRemoteFile),
                              dwOptions, qwOffset);
  });
}

INT WINAPI HttpPutFileA(HCLIENT hClient, LPCSTR lpszLocalFile, LPCSTR lpszRemoteFile,
                        DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT {
  return HttpPutFileExA(hClient, lpszLocalFile, lpszRemoteFile, dwOptions, dwReserved);
}

INT WINAPI HttpPostFileA(HCLIENT hClient, LPCSTR lpszFileName, LPCSTR lpszResource,
                         LPCSTR lpszFieldName, DWORD dwOptions, DWORD dwReserved) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        return qv::PostFromFile(session, qv::TextOf(lpszFileName), qv::TextOf(lpszResource),
                                qv::TextOf(lpszFieldName), dwOptions, dwReserved);
      });
}
