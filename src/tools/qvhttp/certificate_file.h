#ifndef TOOLS_QVHTTP_CERTIFICATE_FILE_H_
#define TOOLS_QVHTTP_CERTIFICATE_FILE_H_

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

template <auto kFree>
struct FreeWith {
  template <typename T>
  void operator()(T* object) const {
    kFree(object);
  }
};
inline void FreeCertificates(STACK_OF(X509) * certificates) {
  sk_X509_pop_free(certificates, X509_free);
}

// A certificate, its private key, and the certificates of its issuers.
struct CertificateWithKey {
  std::unique_ptr<X509, FreeWith<X509_free>> certificate;
  std::unique_ptr<EVP_PKEY, FreeWith<EVP_PKEY_free>> key;
  std::unique_ptr<STACK_OF(X509), FreeWith<FreeCertificates>> issuers;
};

// Reads a file in PEM, in any order of its parts, or in PKCS #12. Throws Failure.
CertificateWithKey ReadCertificateFile(const std::string& name, const std::string& password);

#endif  // TOOLS_QVHTTP_CERTIFICATE_FILE_H_
