// Exported functions: opening and closing sessions, input and output.
#include <algorithm>

#include "events/raise_event.h"
#include "frame/boundary.h"
#include "frame/session.h"
#include "protocol/connect.h"
#include "protocol/engine.h"

namespace {

qv::Error CheckBuffer(const void* buffer, INT size) {
  if (buffer == nullptr) return QV_ERROR_INVALID_BUFFER;
  return size <= 0 ? qv::Error(QV_ERROR_BUFFER_TOO_SMALL) : qv::kNoError;
}

}  // namespace

HCLIENT WINAPI HttpAsyncConnectA(LPCSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout,
                                 DWORD dwOptions, DWORD dwVersion,
                                 LPSECURITYCREDENTIALSA lpCredentials, HWND hEventWnd,
                                 UINT uEventMsg) QV_NOEXCEPT {
  return qv::Boundary<HCLIENT>(INVALID_CLIENT, [&] {
    return qv::ConnectSession({lpszRemoteHost, nRemotePort, nTimeout, dwOptions, dwVersion,
                               hEventWnd, uEventMsg, lpCredentials});
  });
}

HCLIENT WINAPI HttpConnectA(LPCSTR lpszRemoteHost, UINT nRemotePort, UINT nTimeout, DWORD dwOptions,
                            DWORD dwVersion, LPSECURITYCREDENTIALSA lpCredentials) QV_NOEXCEPT {
  return HttpAsyncConnectA(lpszRemoteHost, nRemotePort, nTimeout, dwOptions, dwVersion,
                           lpCredentials, nullptr, 0);
}

HCLIENT WINAPI HttpConnectUrlA(LPCSTR lpszURL, UINT nTimeout, DWORD dwOptions) QV_NOEXCEPT {
  return qv::Boundary<HCLIENT>(INVALID_CLIENT,
                               [&] { return qv::ConnectUrl(lpszURL, nTimeout, dwOptions); });
}

INT WINAPI HttpDisconnect(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    const qv::ErrorSlotGuard keep_error;
                                    const qv::Error error = session.engine->Disconnect(session);
                                    if (error == qv::Error(QV_ERROR_OPERATION_IN_PROGRESS))
                                      return error;
                                    if (session.Alive()) {
                                      qv::SessionTable::Get().Release(hClient);
                                    }
                                    return 0;
                                  });
}

INT WINAPI HttpRead(HCLIENT hClient, LPBYTE lpBuffer, INT cbBuffer) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    if (qv::Error error = CheckBuffer(lpBuffer, cbBuffer))
                                      return error;
                                    qv::OperationScope operation(session.operation);
                                    return session.engine->Read(session, lpBuffer, cbBuffer);
                                  });
}

INT WINAPI HttpWrite(HCLIENT hClient, const BYTE* lpBuffer, INT cbBuffer) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    if (qv::Error error = CheckBuffer(lpBuffer, cbBuffer))
                                      return error;
                                    qv::OperationScope operation(session.operation);
                                    return session.engine->Write(session, lpBuffer, cbBuffer);
                                  });
}

BOOL WINAPI HttpIsReadable(HCLIENT hClient, INT nTimeout, LPDWORD lpdwAvail) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    DWORD available = 0;
    if (lpdwAvail != nullptr) *lpdwAvail = 0;
    qv::Result<bool> readable = session.engine->IsReadable(session, nTimeout, &available);
    if (!readable) return readable.error();
    if (lpdwAvail != nullptr) *lpdwAvail = available;
    return *readable ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpIsWritable(HCLIENT hClient, INT nTimeout) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::Result<bool> writable = session.engine->IsWritable(session, nTimeout);
    if (!writable) return writable.error();
    return *writable ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpIsConnected(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    return session.connection.connected ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpIsBlocking(HCLIENT hClient) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Find(hClient);
    if (!session) return session.error();
    return (*session)->operation.blocking ? TRUE : FALSE;
  });
}

INT WINAPI HttpCancel(HCLIENT hClient) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (hClient == INVALID_CLIENT) return qv::Error(QV_ERROR_OPERATION_NOT_BLOCKING);
    qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Find(hClient);
    if (!session) return session.error();
    (*session)->operation.cancel = true;
    return 0;
  });
}
