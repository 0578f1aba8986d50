// Handles of the interface: an object's address, and a mark that tells what it is.
#ifndef PLATFORM_SECURITY_HANDLES_H_
#define PLATFORM_SECURITY_HANDLES_H_

#include <memory>
#include <new>

#include "crypt32/openssl_ptr.h"
#include "platform/security.h"
#include "security/credential.h"
#include "security/tls_context.h"

namespace platform::security {

template <typename Object>
inline constexpr ULONG_PTR kMark = 0;
template <>
inline constexpr ULONG_PTR kMark<CredentialRef> = 0x43726564;  // "Cred"
template <>
inline constexpr ULONG_PTR kMark<TlsContext> = 0x43747874;  // "Ctxt"

template <typename Object>
SecHandle ToHandle(std::unique_ptr<Object> object) noexcept {
  return {reinterpret_cast<ULONG_PTR>(object.release()), kMark<Object>};
}

// Null for what is no handle of that kind.
template <typename Object>
Object* FromHandle(const SecHandle* handle) noexcept {
  if (handle == nullptr || handle->dwLower == 0 || handle->dwUpper != kMark<Object>) return nullptr;
  return reinterpret_cast<Object*>(handle->dwLower);
}

template <typename Object>
SECURITY_STATUS DeleteHandle(SecHandle* handle) noexcept {
  const crypt32::ErrorQueueGuard errors;
  const std::unique_ptr<Object> deleted(FromHandle<Object>(handle));
  if (deleted == nullptr) return SEC_E_INVALID_HANDLE;
  *handle = {};
  return SEC_E_OK;
}

// Runs the body of a function of the table; lack of memory is a result.
template <typename Body>
SECURITY_STATUS Guarded(Body&& body) noexcept {
  const crypt32::ErrorQueueGuard errors;
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return SEC_E_INSUFFICIENT_MEMORY;
  }
}

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_HANDLES_H_
