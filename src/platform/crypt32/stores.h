// Opening, reading and closing stores.
#ifndef PLATFORM_CRYPT32_STORES_H_
#define PLATFORM_CRYPT32_STORES_H_

#include "crypt32/certificate.h"

namespace platform::crypt32 {

HCERTSTORE WINAPI CertOpenStore(LPCSTR provider, DWORD encoding, ULONG_PTR crypto_provider,
                                DWORD flags, LPCVOID parameter) noexcept;
HCERTSTORE WINAPI CertOpenSystemStoreA(ULONG_PTR crypto_provider, LPCSTR name) noexcept;
BOOL WINAPI CertCloseStore(HCERTSTORE store, DWORD flags) noexcept;
BOOL WINAPI PFXIsPFXBlob(CRYPT_DATA_BLOB* file) noexcept;
HCERTSTORE WINAPI PFXImportCertStore(CRYPT_DATA_BLOB* file, LPCWSTR password, DWORD flags) noexcept;

BOOL WINAPI CertFreeCertificateContext(PCCERT_CONTEXT context) noexcept;
BOOL WINAPI CertGetCertificateContextProperty(PCCERT_CONTEXT context, DWORD property, LPVOID buffer,
                                              LPDWORD size) noexcept;
PCCERT_CONTEXT WINAPI CertEnumCertificatesInStore(HCERTSTORE store,
                                                  PCCERT_CONTEXT previous) noexcept;
PCCERT_CONTEXT WINAPI CertFindCertificateInStore(HCERTSTORE store, DWORD encoding, DWORD flags,
                                                 DWORD type, LPCVOID parameter,
                                                 PCCERT_CONTEXT previous) noexcept;

// The store behind a handle, null for NULL.
inline StoreRef StoreOf(HCERTSTORE handle) noexcept {
  return handle != nullptr ? static_cast<const StoreHandle*>(handle)->store : nullptr;
}

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_STORES_H_
