// Certificates with their keys, made as a test needs them.
#ifndef SUPPORT_TLS_IDENTITY_H_
#define SUPPORT_TLS_IDENTITY_H_

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

namespace test {

using SharedCertificate = std::shared_ptr<X509>;
using SharedKey = std::shared_ptr<EVP_PKEY>;

struct TlsIdentity {
  SharedCertificate certificate;
  SharedKey key;

  std::string CertificatePem() const;
  std::string KeyPem() const;
  std::string Pem() const { return CertificatePem() + KeyPem(); }
};

struct IdentityOptions {
  std::string common_name = "localhost";
  std::string organization = {};  // none when empty
  // As OpenSSL writes it in its configuration: "DNS:localhost,IP:127.0.0.1". None when empty.
  std::string alternative_names = "DNS:localhost,IP:127.0.0.1,IP:::1";
  std::string extended_usage = {};    // "serverAuth,clientAuth"; none when empty
  std::string name_constraints = {};  // "permitted;DNS:example"; none when empty
  bool is_authority = false;
  bool rsa = false;          // else a P-256 key
  int valid_from_days = -1;  // from today
  int valid_to_days = 30;
};

// Signed by the issuer, or by itself when there is none. Throws std::runtime_error.
TlsIdentity MakeIdentity(const IdentityOptions& options, const TlsIdentity* issuer = nullptr);

// A self-signed certificate authority.
TlsIdentity MakeAuthority(const std::string& common_name = "Test Authority");

// A revocation list of an authority, in PEM.
std::string MakeRevocationList(const TlsIdentity& authority,
                               const std::vector<TlsIdentity>& revoked);

struct Pkcs12Options {
  std::string password = {};
  bool without_password = false;          // none at all, which is not the same as an empty one
  std::string friendly_name = {};         // none when empty
  std::vector<TlsIdentity> issuers = {};  // their certificates go along
};
// The content of a PKCS #12 file.
std::string MakePkcs12(const TlsIdentity& identity, const Pkcs12Options& options = {});

}  // namespace test

#endif  // SUPPORT_TLS_IDENTITY_H_
