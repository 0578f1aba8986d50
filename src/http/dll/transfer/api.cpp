// Exported functions: data retrieval.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "transfer/delivery.h"
#include "transfer/retrieve.h"
#include "transfer/retrieve_text.h"

INT WINAPI HttpGetDataA(HCLIENT hClient, LPCSTR lpszResource, LPVOID lpvBuffer, LPDWORD lpdwLength,
                        DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    if (lpvBuffer == nullptr || lpdwLength == nullptr) {
                                      if (lpdwLength != nullptr) *lpdwLength = 0;
                                      return qv::Error(QV_ERROR_INVALID_PARAMETER);
                                    }
                                    qv::BodyOutput output(lpvBuffer, lpdwLength);
                                    qv::Result<qv::RetrievedData> data =
                                        qv::Retrieve(session, qv::TextOf(lpszResource), dwOptions);
                                    if (!data) return data.error();
                                    output.Deliver(std::move(data->body));
                                    return data->result_code;
                                  });
}

INT WINAPI HttpGetTextA(HCLIENT hClient, LPCSTR lpszResource, LPSTR lpszBuffer,
                        INT nMaxLength) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (lpszBuffer == nullptr) return qv::Error(QV_ERROR_INVALID_BUFFER);
        if (qv::TextOf(lpszResource).empty()) return qv::Error(QV_ERROR_INVALID_RESOURCE);
        if (nMaxLength < 1) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
        *lpszBuffer = '\0';
        qv::Result<qv::RetrievedData> data =
            qv::RetrieveText(session, lpszResource, HTTP_TRANSFER_DEFAULT);
        if (!data) return data.error();
        qv::CopyText({data->body.block.data(), data->body.length}, lpszBuffer, nMaxLength);
        return data->result_code;
      });
}

INT WINAPI HttpGetTextExA(HCLIENT hClient, LPCSTR lpszResource, LPVOID lpvBuffer, LPINT lpcchBuffer,
                          UINT nCodePage, DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [&](qv::Session& session) {
    return qv::GetTextEx(session, lpszResource, lpvBuffer, lpcchBuffer, nCodePage, dwOptions);
  });
}
