#include "certificate_file.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>

#include <algorithm>

#include "failure.h"

namespace {

using Bio = std::unique_ptr<BIO, FreeWith<BIO_free>>;
using Pkcs12 = std::unique_ptr<PKCS12, FreeWith<PKCS12_free>>;
using OwnedCertificate = std::unique_ptr<X509, FreeWith<X509_free>>;

[[noreturn]] void Refuse(const std::string& name, const std::string& reason) {
  throw Failure(ExitCode::kFailure, "--cert " + name + ": " + reason);
}

// Gives OpenSSL the password of an encrypted key; without it, OpenSSL would ask on the terminal.
int GivePassword(char* buffer, int capacity, int, void* password) {
  const auto& text = *static_cast<const std::string*>(password);
  if (text.empty() || text.size() > static_cast<std::size_t>(capacity)) return -1;
  std::copy(text.begin(), text.end(), buffer);
  return static_cast<int>(text.size());
}

void AddIssuer(CertificateWithKey& found, OwnedCertificate certificate) {
  if (found.issuers == nullptr) found.issuers.reset(sk_X509_new_null());
  if (found.issuers != nullptr && sk_X509_push(found.issuers.get(), certificate.get()) > 0) {
    static_cast<void>(certificate.release());  // the list's now
  }
}

// The certificate of the key may stand anywhere; all others are taken for its issuers.
CertificateWithKey ReadPem(BIO* file, const std::string& name, std::string password) {
  CertificateWithKey found;
  found.key.reset(PEM_read_bio_PrivateKey(file, nullptr, GivePassword, &password));
  if (found.key == nullptr) Refuse(name, "no private key in it, or a wrong password");
  static_cast<void>(BIO_reset(file));
  for (;;) {
    OwnedCertificate certificate(PEM_read_bio_X509(file, nullptr, GivePassword, &password));
    if (certificate == nullptr) break;
    const bool matches = X509_check_private_key(certificate.get(), found.key.get()) == 1;
    if (matches && found.certificate == nullptr) {
      found.certificate = std::move(certificate);
    } else {
      AddIssuer(found, std::move(certificate));
    }
  }
  if (found.certificate == nullptr) Refuse(name, "no certificate for the private key in it");
  return found;
}

CertificateWithKey ReadPkcs12(PKCS12* file, const std::string& name, const std::string& password) {
  X509* certificate = nullptr;
  EVP_PKEY* key = nullptr;
  STACK_OF(X509)* issuers = nullptr;
  if (PKCS12_parse(file, password.c_str(), &key, &certificate, &issuers) != 1) {
    Refuse(name, "a wrong password, or an encryption that is out of use");
  }
  CertificateWithKey found;
  found.certificate.reset(certificate);
  found.key.reset(key);
  found.issuers.reset(issuers);
  if (certificate == nullptr || key == nullptr) Refuse(name, "no certificate with its key in it");
  return found;
}

}  // namespace

CertificateWithKey ReadCertificateFile(const std::string& name, const std::string& password) {
  const Bio file(BIO_new_file(name.c_str(), "rb"));
  if (file == nullptr) Refuse(name, "cannot read the file");
  const Pkcs12 container(d2i_PKCS12_bio(file.get(), nullptr));
  static_cast<void>(BIO_reset(file.get()));
  CertificateWithKey found = container != nullptr ? ReadPkcs12(container.get(), name, password)
                                                  : ReadPem(file.get(), name, password);
  ERR_clear_error();  // of the formats that were tried in vain
  return found;
}
