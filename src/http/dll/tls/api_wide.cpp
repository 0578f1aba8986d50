// W forms: credentials, and what was negotiated.
#include <cstring>
#include <optional>
#include <string>

#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/wide.h"
#include "qvhttp12.h"
#include "tls/credentials_record.h"
#include "tls/security_info.h"

namespace {

// Keeps the text with the session, so that the pointer stays good.
LPCWSTR Widen(LPCSTR text, std::optional<std::u16string>& kept) {
  if (text == nullptr) {
    kept.reset();
    return nullptr;
  }
  kept = qv::WideFromUtf8(text);
  return kept->c_str();
}

}  // namespace

// The wide texts are copied as they are: nothing is converted before the record is used.
BOOL WINAPI HttpCreateSecurityCredentialsW(DWORD dwProtocol, DWORD dwOptions, LPCWSTR lpszUserName,
                                           LPCWSTR lpszPassword, LPCWSTR lpszCertStore,
                                           LPCWSTR lpszCertName, LPVOID /*lpvReserved*/,
                                           LPSECURITYCREDENTIALSW* lppCredentials) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (lppCredentials == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    SECURITYCREDENTIALSW record{};
    record.dwSize = sizeof(record);
    record.dwProtocol = dwProtocol;
    record.dwOptions = dwOptions;
    record.lpszUserName = lpszUserName;
    record.lpszPassword = lpszPassword;
    record.lpszCertStore = lpszCertStore;
    record.lpszCertName = lpszCertName;
    SECURITYCREDENTIALSW* const made = qv::CopyCredentials(record);
    if (made == nullptr) return qv::Error(QV_ERROR_OUT_OF_MEMORY);
    HttpDeleteSecurityCredentialsW(lppCredentials);  // its texts may be among the arguments
    *lppCredentials = made;
    return TRUE;
  });
}

void WINAPI HttpDeleteSecurityCredentialsW(LPSECURITYCREDENTIALSW* lppCredentials) QV_NOEXCEPT {
  if (lppCredentials == nullptr) return;
  qv::FreeCredentials(*lppCredentials);
  *lppCredentials = nullptr;
}

BOOL WINAPI HttpGetSecurityInformationW(HCLIENT hClient,
                                        LPSECURITYINFOW lpSecurityInfo) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    if (lpSecurityInfo == nullptr || lpSecurityInfo->dwSize < sizeof(SECURITYINFOW)) {
      return qv::Error(QV_ERROR_INVALID_PARAMETER);
    }
    std::memset(static_cast<void*>(lpSecurityInfo), 0, lpSecurityInfo->dwSize);
    SECURITYINFOA narrow{};
    const qv::Error error = qv::DescribeSecurity(session, narrow);
    *lpSecurityInfo = {sizeof(SECURITYINFOW),
                       narrow.dwProtocol,
                       narrow.dwCipher,
                       narrow.dwCipherStrength,
                       narrow.dwHash,
                       narrow.dwHashStrength,
                       narrow.dwKeyExchange,
                       narrow.dwCertStatus,
                       narrow.stCertIssued,
                       narrow.stCertExpires,
                       nullptr,
                       nullptr,
                       nullptr};
    if (error) return error;
    lpSecurityInfo->lpszCertIssuer = Widen(narrow.lpszCertIssuer, session.tls.wide_issuer);
    lpSecurityInfo->lpszCertSubject = Widen(narrow.lpszCertSubject, session.tls.wide_subject);
    return TRUE;
  });
}
