// Certificates, the stores that hold them, and the records by which callers see them.
#ifndef PLATFORM_CRYPT32_CERTIFICATE_H_
#define PLATFORM_CRYPT32_CERTIFICATE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "crypt32/openssl_ptr.h"
#include "platform/crypt32.h"

namespace platform::crypt32 {

// A certificate and what belongs to it. Never changes, and is shared by stores and contexts.
class Certificate {
 public:
  // The key and the friendly name may be absent.
  explicit Certificate(X509Ptr x509, KeyPtr key = nullptr, std::u16string friendly_name = {})
      : x509_(std::move(x509)), key_(std::move(key)), friendly_name_(std::move(friendly_name)) {}

  X509* x509() const noexcept { return x509_.get(); }
  EVP_PKEY* key() const noexcept { return key_.get(); }
  const std::u16string& friendly_name() const noexcept { return friendly_name_; }

 private:
  X509Ptr x509_;
  KeyPtr key_;
  std::u16string friendly_name_;
};

using CertificateRef = std::shared_ptr<const Certificate>;

// The certificates of a store, a file or a server; never changes once it is shared.
using CertificateList = std::vector<CertificateRef>;
using StoreRef = std::shared_ptr<const CertificateList>;

// What an HCERTSTORE points to.
struct StoreHandle {
  StoreRef store;
};

// What a PCCERT_CONTEXT points to. Knows its place in the store, from which a search goes on.
class CertificateContext : public CERT_CONTEXT {
 public:
  CertificateContext(StoreRef store, std::size_t index);
  CertificateContext(const CertificateContext&) = delete;
  CertificateContext& operator=(const CertificateContext&) = delete;

  const CertificateRef& certificate() const noexcept { return (*store_.store)[index_]; }
  const StoreRef& store() const noexcept { return store_.store; }
  std::size_t index() const noexcept { return index_; }

 private:
  StoreHandle store_;
  std::size_t index_;
  std::vector<BYTE> encoded_;
  std::vector<BYTE> serial_;
  CERT_INFO info_{};
};

// The object behind a context that this module made; null for NULL.
inline const CertificateContext* FromHandle(PCCERT_CONTEXT context) noexcept {
  return static_cast<const CertificateContext*>(context);
}

// A new context for the first of these certificates, with all of them as its store; the caller
// frees it with CertFreeCertificateContext. NULL for an empty list. Throws std::bad_alloc.
QVPLATFORM_API PCCERT_CONTEXT NewContext(CertificateList certificates);

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_CERTIFICATE_H_
