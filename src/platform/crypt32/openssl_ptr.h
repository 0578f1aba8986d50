// Owners of OpenSSL objects.
#ifndef PLATFORM_CRYPT32_OPENSSL_PTR_H_
#define PLATFORM_CRYPT32_OPENSSL_PTR_H_

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

#include "qvplatform.h"

namespace platform::crypt32 {

template <auto Free>
struct OpenSslDelete {
  template <typename Object>
  void operator()(Object* object) const noexcept {
    Free(object);
  }
};

using BioPtr = std::unique_ptr<BIO, OpenSslDelete<BIO_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, OpenSslDelete<EVP_PKEY_free>>;
using X509Ptr = std::unique_ptr<X509, OpenSslDelete<X509_free>>;

// A list that owns a reference to each of its certificates.
inline void FreeX509Stack(STACK_OF(X509) * stack) noexcept { sk_X509_pop_free(stack, X509_free); }
using X509StackPtr = std::unique_ptr<STACK_OF(X509), OpenSslDelete<FreeX509Stack>>;

inline X509Ptr Share(X509* certificate) noexcept {
  X509_up_ref(certificate);
  return X509Ptr(certificate);
}

// OpenSSL keeps the errors of a thread in a queue. An application that uses OpenSSL itself must
// find none of ours there, and none of its own must be taken for ours: its errors are put aside
// meanwhile.
class QVPLATFORM_API ErrorQueueGuard {
 public:
  ErrorQueueGuard() noexcept {
    if (ERR_peek_error() != 0) PutAside();
  }
  ~ErrorQueueGuard() {
    if (ERR_peek_error() != 0) ERR_clear_error();
    if (!aside_.empty()) PutBack();
  }
  ErrorQueueGuard(const ErrorQueueGuard&) = delete;
  ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;

 private:
  struct Entry {
    unsigned long code;
    std::string file;
    int line;
    std::string function;
    std::string data;
  };
  void PutAside() noexcept;
  void PutBack() noexcept;

  std::vector<Entry> aside_;
};

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_OPENSSL_PTR_H_
