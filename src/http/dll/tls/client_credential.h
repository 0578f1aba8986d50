// Credentials of the security provider, and the store of the client certificate.
#ifndef QV_TLS_CLIENT_CREDENTIAL_H_
#define QV_TLS_CLIENT_CREDENTIAL_H_

#include <memory>
#include <utility>

#include "frame/error.h"
#include "platform/crypt32.h"
#include "platform/security.h"

namespace qv {

struct Session;

struct CertificateDeleter {
  void operator()(const CERT_CONTEXT* certificate) const;
};
using Certificate = std::unique_ptr<const CERT_CONTEXT, CertificateDeleter>;

// An open certificate store, or none.
class CertificateStore {
 public:
  CertificateStore() = default;
  explicit CertificateStore(HCERTSTORE handle) : handle_(handle) {}
  CertificateStore(CertificateStore&& other) noexcept
      : handle_(std::exchange(other.handle_, nullptr)) {}
  CertificateStore& operator=(CertificateStore&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~CertificateStore();

  HCERTSTORE get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

 private:
  HCERTSTORE handle_ = nullptr;
};

// A credential handle of the provider.
class TlsCredential {
 public:
  TlsCredential() = default;
  explicit TlsCredential(CredHandle handle) : handle_(handle) {}
  TlsCredential(TlsCredential&& other) noexcept : handle_(std::exchange(other.handle_, {})) {}
  TlsCredential& operator=(TlsCredential&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~TlsCredential();

  CredHandle* get() { return &handle_; }

 private:
  CredHandle handle_{};
};

struct ClientCredential {
  CertificateStore store;
  TlsCredential handle;
};

// Acquires what the session's identity asks for. QV_ERROR_SECURITY_CREDENTIALS (also for a
// certificate that cannot be found), and errors of opening the store.
Result<ClientCredential> AcquireClientCredential(const Session& session);

// The server asks for a certificate of one of `issuers`: a credential with one from the store.
// QV_ERROR_SECURITY_CREDENTIALS when there is none.
Result<TlsCredential> AcquireForIssuers(const Session& session, const CertificateStore& store,
                                        const SecPkgContext_IssuerListInfoEx& issuers);

}  // namespace qv

#endif  // QV_TLS_CLIENT_CREDENTIAL_H_
