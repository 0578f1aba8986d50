#include "identity.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <stdexcept>

namespace bench {
namespace {

constexpr long kSecondsOfADay = 86400;
constexpr long kX509Version3 = 2;

struct FreeParts {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
  void operator()(FILE* file) const { std::fclose(file); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeParts>;
using CertificatePtr = std::unique_ptr<X509, FreeParts>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, FreeParts>;
using FilePtr = std::unique_ptr<FILE, FreeParts>;

void Require(bool condition) {
  if (!condition) throw std::runtime_error("cannot make a certificate");
}

void AddExtension(X509* certificate, int kind, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
  Require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1);
}

CertificatePtr SelfSigned(EVP_PKEY* key) {
  CertificatePtr certificate(X509_new());
  X509* const it = certificate.get();
  Require(it != nullptr);
  X509_set_version(it, kX509Version3);
  ASN1_INTEGER_set(X509_get_serialNumber(it), 1);
  X509_gmtime_adj(X509_getm_notBefore(it), -kSecondsOfADay);
  X509_gmtime_adj(X509_getm_notAfter(it), kSecondsOfADay);
  X509_set_pubkey(it, key);
  X509_NAME* const name = X509_get_subject_name(it);
  const auto* const text = reinterpret_cast<const unsigned char*>("bench");
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, text, -1, -1, 0);
  X509_set_issuer_name(it, name);
  AddExtension(it, NID_basic_constraints, "critical,CA:TRUE");
  AddExtension(it, NID_subject_alt_name, "IP:127.0.0.1");
  Require(X509_sign(it, key, EVP_sha256()) > 0);
  return certificate;
}

}  // namespace

ContextPtr NewServerContext(const std::string& file) {
  const KeyPtr key(EVP_EC_gen("P-256"));
  Require(key != nullptr);
  const CertificatePtr certificate = SelfSigned(key.get());
  const FilePtr output(std::fopen(file.c_str(), "w"));
  Require(output != nullptr && PEM_write_X509(output.get(), certificate.get()) == 1);
  ContextPtr context(SSL_CTX_new(TLS_server_method()));
  Require(context != nullptr && SSL_CTX_use_PrivateKey(context.get(), key.get()) == 1 &&
          SSL_CTX_use_certificate(context.get(), certificate.get()) == 1);
  return context;
}

ContextPtr WithoutResumption(SSL_CTX* context) {
  ContextPtr other(SSL_CTX_new(TLS_server_method()));
  Require(other != nullptr &&
          SSL_CTX_use_PrivateKey(other.get(), SSL_CTX_get0_privatekey(context)) == 1 &&
          SSL_CTX_use_certificate(other.get(), SSL_CTX_get0_certificate(context)) == 1);
  SSL_CTX_set_num_tickets(other.get(), 0);
  SSL_CTX_set_options(other.get(), SSL_OP_NO_TICKET);
  SSL_CTX_set_session_cache_mode(other.get(), SSL_SESS_CACHE_OFF);
  return other;
}

ContextPtr NewClientContext(const std::string& file) {
  ContextPtr context(SSL_CTX_new(TLS_client_method()));
  if (!context || SSL_CTX_load_verify_locations(context.get(), file.c_str(), nullptr) != 1) {
    throw std::runtime_error("cannot trust the certificate");
  }
  SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
  return context;
}

}  // namespace bench
