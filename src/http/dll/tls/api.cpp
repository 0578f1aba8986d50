// Exported functions: credentials, and what was negotiated.
#include <cstring>

#include "frame/boundary.h"
#include "frame/session.h"
#include "qvhttp12.h"
#include "tls/credentials_record.h"
#include "tls/security_info.h"

BOOL WINAPI HttpCreateSecurityCredentialsA(DWORD dwProtocol, DWORD dwOptions, LPCSTR lpszUserName,
                                           LPCSTR lpszPassword, LPCSTR lpszCertStore,
                                           LPCSTR lpszCertName, LPVOID /*lpvReserved*/,
                                           LPSECURITYCREDENTIALSA* lppCredentials) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (lppCredentials == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    SECURITYCREDENTIALSA record{};
    record.dwSize = sizeof(record);
    record.dwProtocol = dwProtocol;
    record.dwOptions = dwOptions;
    record.lpszUserName = lpszUserName;
    record.lpszPassword = lpszPassword;
    record.lpszCertStore = lpszCertStore;
    record.lpszCertName = lpszCertName;
    SECURITYCREDENTIALSA* const made = qv::CopyCredentials(record);
    if (made == nullptr) return qv::Error(QV_ERROR_OUT_OF_MEMORY);
    HttpDeleteSecurityCredentialsA(lppCredentials);  // its texts may be among the arguments
    *lppCredentials = made;
    return TRUE;
  });
}

void WINAPI HttpDeleteSecurityCredentialsA(LPSECURITYCREDENTIALSA* lppCredentials) QV_NOEXCEPT {
  if (lppCredentials == nullptr) return;
  qv::FreeCredentials(*lppCredentials);
  *lppCredentials = nullptr;
}

BOOL WINAPI HttpGetSecurityInformationA(HCLIENT hClient,
                                        LPSECURITYINFOA lpSecurityInfo) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    if (lpSecurityInfo == nullptr || lpSecurityInfo->dwSize < sizeof(SECURITYINFOA)) {
      return qv::Error(QV_ERROR_INVALID_PARAMETER);
    }
    std::memset(static_cast<void*>(lpSecurityInfo), 0, lpSecurityInfo->dwSize);
    lpSecurityInfo->dwSize = sizeof(SECURITYINFOA);
    if (qv::Error error = qv::DescribeSecurity(session, *lpSecurityInfo)) return error;
    return TRUE;
  });
}
