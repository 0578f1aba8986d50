// W forms of the transfer functions.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/wide.h"
#include "transfer/retrieve_text.h"

INT WINAPI HttpGetDataW(HCLIENT hClient, LPCWSTR lpszResource, LPVOID lpvBuffer, LPDWORD lpdwLength,
                        DWORD dwOptions) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpGetDataA(hClient, qv::NarrowText(lpszResource), lpvBuffer, lpdwLength, dwOptions);
  });
}

INT WINAPI HttpGetTextW(HCLIENT hClient, LPCWSTR lpszResource, LPWSTR lpszBuffer,
                        INT nMaxLength) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (lpszBuffer == nullptr) return qv::Error(QV_ERROR_INVALID_BUFFER);
        if (nMaxLength < 1) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
        *lpszBuffer = u'\0';
        qv::Result<qv::RetrievedData> data =
            qv::RetrieveText(session, qv::NarrowText(lpszResource).view(), HTTP_TRANSFER_DEFAULT);
        if (!data) return data.error();
        const std::optional<std::u16string> text =
            qv::WideFromUtf8Strict({data->body.block.data(), data->body.length});
        if (!text) return qv::Error(QV_ERROR_INVALID_ENCODING_TYPE);
        const std::size_t units = text->size() + 1;
        if (units >= static_cast<std::size_t>(nMaxLength) - 1) {
          return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
        }
        qv::CopyWide(*text, lpszBuffer, nMaxLength);
        return data->result_code;
      });
}

INT WINAPI HttpGetTextExW(HCLIENT hClient, LPCWSTR lpszResource, LPVOID lpvBuffer,
                          LPINT lpcchBuffer, UINT nCodePage, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::GetTextExWide(session, qv::NarrowText(lpszResource), lpvBuffer, lpcchBuffer,
                             nCodePage, dwOptions);
  });
}

INT WINAPI HttpGetFileSizeW(HCLIENT hClient, LPCWSTR lpszFileName,
                            LPDWORD lpdwFileSize) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpGetFileSizeA(hClient, qv::NarrowText(lpszFileName), lpdwFileSize);
  });
}

INT WINAPI HttpGetFileSizeExW(HCLIENT hClient, LPCWSTR lpszFileName,
                              LPULONGLONG lpqwFileSize) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpGetFileSizeExA(hClient, qv::NarrowText(lpszFileName), lpqwFileSize);
  });
}

INT WINAPI HttpGetFileTimeW(HCLIENT hClient, LPCWSTR lpszFileName, LPSYSTEMTIME lpstFileTime,
                            BOOL bLocalize) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpGetFileTimeA(hClient, qv::NarrowText(lpszFileName), lpstFileTime, bLocalize);
  });
}

INT WINAPI HttpDeleteFileW(HCLIENT hClient, LPCWSTR lpszFileName) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(
      HTTP_ERROR, [&] { return HttpDeleteFileA(hClient, qv::NarrowText(lpszFileName)); });
}

INT WINAPI HttpOpenFileW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(
      HTTP_ERROR, [&] { return HttpOpenFileA(hClient, qv::NarrowText(lpszFileName), dwReserved); });
}

INT WINAPI HttpOpenFileExW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwReserved,
                           ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpOpenFileExA(hClient, qv::NarrowText(lpszFileName), dwReserved, qwOffset);
  });
}

INT WINAPI HttpCreateFileW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwFileLength,
                           DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpCreateFileA(hClient, qv::NarrowText(lpszFileName), dwFileLength, dwReserved);
  });
}

INT WINAPI HttpCreateFileExW(HCLIENT hClient, LPCWSTR lpszFileName, DWORD dwReserved,
                             ULONGLONG qwFileLength, ULONGLONG qwOffset) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpCreateFileExA(hClient, qv::NarrowText(lpszFileName), dwReserved, qwFileLength,
                             qwOffset);
  });
}
