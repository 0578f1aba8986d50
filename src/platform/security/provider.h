// The functions of the table.
#ifndef PLATFORM_SECURITY_PROVIDER_H_
#define PLATFORM_SECURITY_PROVIDER_H_

#include "platform/security.h"

namespace platform::security {

SECURITY_STATUS WINAPI AcquireCredentialsHandleA(LPSTR principal, LPSTR package, ULONG use,
                                                 LPVOID logon_id, LPVOID credentials,
                                                 SEC_GET_KEY_FN get_key, LPVOID get_key_argument,
                                                 PCredHandle credential,
                                                 PTimeStamp expiry) noexcept;
SECURITY_STATUS WINAPI FreeCredentialsHandle(PCredHandle credential) noexcept;
SECURITY_STATUS WINAPI SetCredentialsAttributesA(PCredHandle credential, ULONG attribute,
                                                 LPVOID buffer, ULONG size) noexcept;
SECURITY_STATUS WINAPI InitializeSecurityContextA(PCredHandle credential, PCtxtHandle context,
                                                  LPSTR target, ULONG requirements, ULONG reserved1,
                                                  ULONG data_representation, PSecBufferDesc input,
                                                  ULONG reserved2, PCtxtHandle new_context,
                                                  PSecBufferDesc output, ULONG* attributes,
                                                  PTimeStamp expiry) noexcept;
SECURITY_STATUS WINAPI ApplyControlToken(PCtxtHandle context, PSecBufferDesc input) noexcept;
SECURITY_STATUS WINAPI DeleteSecurityContext(PCtxtHandle context) noexcept;
SECURITY_STATUS WINAPI FreeContextBuffer(LPVOID buffer) noexcept;
SECURITY_STATUS WINAPI QueryContextAttributesA(PCtxtHandle context, ULONG attribute,
                                               LPVOID buffer) noexcept;

// In messages.cpp.
SECURITY_STATUS WINAPI EncryptMessage(PCtxtHandle context, ULONG quality, PSecBufferDesc message,
                                      ULONG sequence) noexcept;
SECURITY_STATUS WINAPI DecryptMessage(PCtxtHandle context, PSecBufferDesc message, ULONG sequence,
                                      ULONG* quality) noexcept;

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_PROVIDER_H_
