// Exported functions: remote files.
#include <limits>

#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/engine.h"
#include "transfer/remote_file.h"

INT WINAPI HttpGetFileSizeExA(HCLIENT hClient, LPCSTR lpszFileName,
                              LPULONGLONG lpqwFileSize) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::QueryFileSize(session, qv::TextOf(lpszFileName), lpqwFileSize);
  });
}

INT WINAPI HttpGetFileSizeA(HCLIENT hClient, LPCSTR lpszFileName,
                            LPDWORD lpdwFileSize) QV_NOEXCEPT {
  constexpr DWORD kDoesNotFit = std::numeric_limits<DWORD>::max();
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (lpdwFileSize == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
        uint64_t size = 0;
        qv::Result<INT> result = qv::QueryFileSize(session, qv::TextOf(lpszFileName), &size);
        if (result) *lpdwFileSize = size < kDoesNotFit ? static_cast<DWORD>(size) : kDoesNotFit;
        return result;
      });
}

INT WINAPI HttpGetFileTimeA(HCLIENT hClient, LPCSTR lpszFileName, LPSYSTEMTIME lpstFileTime,
                            BOOL bLocalize) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::QueryFileTime(session, qv::TextOf(lpszFileName), lpstFileTime, bLocalize != FALSE);
  });
}

INT WINAPI HttpDeleteFileA(HCLIENT hClient, LPCSTR lpszFileName) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::DeleteRemoteFile(session, qv::TextOf(lpszFileName));
  });
}

INT WINAPI HttpOpenFileExA(HCLIENT hClient, LPCSTR lpszFileName, DWORD /*dwReserved*/,
                           ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::OpenRemoteFile(session, qv::TextOf(lpszFileName), qwOffset);
  });
}

INT WINAPI HttpOpenFileA(HCLIENT hClient, LPCSTR lpszFileName, DWORD dwReserved) QV_NOEXCEPT {
  return HttpOpenFileExA(hClient, lpszFileName, 0, dwReserved);
}

INT WINAPI HttpCreateFileExA(HCLIENT hClient, LPCSTR lpszFileName, DWORD /*dwReserved*/,
                             ULONGLONG qwFileLength, ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::CreateRemoteFile(session, qv::TextOf(lpszFileName), qwFileLength, qwOffset);
  });
}

INT WINAPI HttpCreateFileA(HCLIENT hClient, LPCSTR lpszFileName, DWORD dwFileLength,
                           DWORD dwReserved) QV_NOEXCEPT {
  return HttpCreateFileExA(hClient, lpszFileName, 0, dwFileLength, dwReserved);
}

INT WINAPI HttpCloseFile(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [](qv::Session& session) -> qv::Result<INT> {
    // From inside an event of a request that is still being sent or collected.
    if (session.transfer.collecting || session.request.writing) {
      return qv::Error(QV_ERROR_OPERATION_IN_PROGRESS);
    }
    qv::OperationScope operation(session.operation);
    if (qv::Error error = session.engine->CloseRequest(session)) return error;
    return 0;
  });
}
