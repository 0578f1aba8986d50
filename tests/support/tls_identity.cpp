#include "support/tls_identity.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace test {
namespace {

constexpr long kX509Version3 = 2;
constexpr long kCrlVersion2 = 1;
constexpr long kSecondsOfDay = 24 * 60 * 60;
constexpr unsigned kRsaBits = 2048;

void Require(bool succeeded, const char* what) {
  if (succeeded) return;
  char reason[256] = {};
  ERR_error_string_n(ERR_get_error(), reason, sizeof(reason));
  throw std::runtime_error(std::string(what) + ": " + reason);
}

SharedKey MakeKey(bool rsa) {
  EVP_PKEY* const key = rsa ? EVP_RSA_gen(kRsaBits) : EVP_EC_gen("P-256");
  Require(key != nullptr, "key");
  return SharedKey(key, EVP_PKEY_free);
}

void AddNameEntry(X509_NAME* name, const char* field, const std::string& value) {
  if (value.empty()) return;
  Require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                     reinterpret_cast<const unsigned char*>(value.c_str()), -1, -1,
                                     0) == 1,
          field);
}

void AddExtension(X509* certificate, X509* issuer, int nid, const std::string& value) {
  if (value.empty()) return;
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str());
  Require(extension != nullptr, value.c_str());
  const int added = X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
  Require(added == 1, value.c_str());
}

void SetSerialNumber(X509* certificate) {
  constexpr int kSerialBytes = 16;
  unsigned char bytes[kSerialBytes];
  Require(RAND_bytes(bytes, kSerialBytes) == 1, "serial number");
  bytes[0] = 1;  // positive, and not shortened
  BIGNUM* const number = BN_bin2bn(bytes, kSerialBytes, nullptr);
  BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate));
  BN_free(number);
}

template <typename Write>
std::string ToText(Write write) {
  const std::unique_ptr<BIO, int (*)(BIO*)> bio(BIO_new(BIO_s_mem()), BIO_free);
  Require(write(bio.get()) == 1, "writing");
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

}  // namespace

std::string TlsIdentity::CertificatePem() const {
  return ToText([this](BIO* bio) { return PEM_write_bio_X509(bio, certificate.get()); });
}

std::string TlsIdentity::KeyPem() const {
  return ToText([this](BIO* bio) {
    return PEM_write_bio_PKCS8PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
}

TlsIdentity MakeIdentity(const IdentityOptions& options, const TlsIdentity* issuer) {
  TlsIdentity made{SharedCertificate(X509_new(), X509_free), MakeKey(options.rsa)};
  X509* const certificate = made.certificate.get();
  X509* const issuer_certificate = issuer != nullptr ? issuer->certificate.get() : certificate;
  Require(X509_set_version(certificate, kX509Version3) == 1, "version");
  SetSerialNumber(certificate);
  AddNameEntry(X509_get_subject_name(certificate), "O", options.organization);
  AddNameEntry(X509_get_subject_name(certificate), "CN", options.common_name);
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer_certificate));
  X509_gmtime_adj(X509_getm_notBefore(certificate), options.valid_from_days * kSecondsOfDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate), options.valid_to_days * kSecondsOfDay);
  X509_set_pubkey(certificate, made.key.get());
  const auto add = [&](int nid, const std::string& value) {
    AddExtension(certificate, issuer_certificate, nid, value);
  };
  add(NID_subject_key_identifier, "hash");
  add(NID_basic_constraints, options.is_authority ? "critical,CA:TRUE" : "critical,CA:FALSE");
  if (options.is_authority) add(NID_key_usage, "critical,keyCertSign,cRLSign");
  add(NID_subject_alt_name, options.is_authority ? "" : options.alternative_names);
  add(NID_ext_key_usage, options.extended_usage);
  add(NID_name_constraints, options.name_constraints);
  EVP_PKEY* const signing_key = issuer != nullptr ? issuer->key.get() : made.key.get();
  Require(X509_sign(certificate, signing_key, EVP_sha256()) > 0, "signature");
  return made;
}

TlsIdentity MakeAuthority(const std::string& common_name) {
  IdentityOptions options;
  options.common_name = common_name;
  options.is_authority = true;
  return MakeIdentity(options);
}

std::string MakeRevocationList(const TlsIdentity& authority,
                               const std::vector<TlsIdentity>& revoked) {
  const std::unique_ptr<X509_CRL, void (*)(X509_CRL*)> list(X509_CRL_new(), X509_CRL_free);
  X509_CRL_set_version(list.get(), kCrlVersion2);
  X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(authority.certificate.get()));
  const std::unique_ptr<ASN1_TIME, void (*)(ASN1_TIME*)> time(ASN1_TIME_new(), ASN1_TIME_free);
  X509_gmtime_adj(time.get(), -kSecondsOfDay);
  X509_CRL_set1_lastUpdate(list.get(), time.get());
  for (const TlsIdentity& each : revoked) {
    X509_REVOKED* const entry = X509_REVOKED_new();
    X509_REVOKED_set_serialNumber(entry, X509_get_serialNumber(each.certificate.get()));
    X509_REVOKED_set_revocationDate(entry, time.get());
    Require(X509_CRL_add0_revoked(list.get(), entry) == 1, "revoked entry");
  }
  X509_gmtime_adj(time.get(), kSecondsOfDay);
  X509_CRL_set1_nextUpdate(list.get(), time.get());
  X509_CRL_sort(list.get());
  Require(X509_CRL_sign(list.get(), authority.key.get(), EVP_sha256()) > 0, "signature");
  return ToText([&](BIO* bio) { return PEM_write_bio_X509_CRL(bio, list.get()); });
}

std::string MakePkcs12(const TlsIdentity& identity, const Pkcs12Options& options) {
  const std::unique_ptr<STACK_OF(X509), void (*)(STACK_OF(X509)*)> issuers(
      sk_X509_new_null(), [](STACK_OF(X509) * stack) { sk_X509_free(stack); });
  for (const TlsIdentity& each : options.issuers) {
    sk_X509_push(issuers.get(), each.certificate.get());
  }
  const std::unique_ptr<PKCS12, void (*)(PKCS12*)> file(
      PKCS12_create(options.without_password ? nullptr : options.password.c_str(),
                    options.friendly_name.empty() ? nullptr : options.friendly_name.c_str(),
                    identity.key.get(), identity.certificate.get(), issuers.get(), 0, 0, 0, 0, 0),
      PKCS12_free);
  Require(file != nullptr, "PKCS #12");
  return ToText([&](BIO* bio) { return i2d_PKCS12_bio(bio, file.get()); });
}

}  // namespace test
