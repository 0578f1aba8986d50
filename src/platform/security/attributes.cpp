#include "security/attributes.h"

#include <openssl/objects.h>
#include <openssl/ssl.h>

#include <cstdlib>
#include <cstring>

namespace platform::security {
namespace {

using crypt32::KeyPtr;

struct Algorithm {
  int nid;
  ALG_ID id;
  DWORD strength;
};

constexpr Algorithm kCiphers[] = {
    {NID_aes_128_gcm, CALG_AES_128, 0},
    {NID_aes_256_gcm, CALG_AES_256, 0},
    {NID_aes_128_ccm, CALG_AES_128, 0},
    {NID_aes_256_ccm, CALG_AES_256, 0},
    {NID_aes_128_cbc, CALG_AES_128, 0},
    {NID_aes_256_cbc, CALG_AES_256, 0},
    {NID_des_ede3_cbc, CALG_3DES, 0},
    {NID_des_cbc, CALG_DES, 0},
    {NID_rc4, CALG_RC4, 0},
};
constexpr Algorithm kHashes[] = {
    {NID_md5, CALG_MD5, 128},
    {NID_sha1, CALG_SHA1, 160},
    {NID_sha256, CALG_SHA_256, 256},
    {NID_sha384, CALG_SHA_384, 384},
};

template <std::size_t kCount>
Algorithm Find(const Algorithm (&table)[kCount], int nid) {
  for (const Algorithm& each : table) {
    if (each.nid == nid) return each;
  }
  return {};
}

DWORD ProtocolOf(int version) {
  switch (version) {
    case TLS1_VERSION:
      return SP_PROT_TLS1_CLIENT;
    case TLS1_1_VERSION:
      return SP_PROT_TLS1_1_CLIENT;
    case TLS1_2_VERSION:
      return SP_PROT_TLS1_2_CLIENT;
    case TLS1_3_VERSION:
      return SP_PROT_TLS1_3_CLIENT;
    default:
      return 0;
  }
}

struct KeyExchange {
  ALG_ID id = 0;
  DWORD strength = 0;
};

// By the server's key of this handshake. A resumed one may have none, and then the cipher tells.
KeyExchange KeyExchangeOf(const SSL* ssl, const SSL_CIPHER* cipher) {
  KeyExchange exchange;
  EVP_PKEY* temporary = nullptr;
  if (SSL_get_peer_tmp_key(const_cast<SSL*>(ssl), &temporary) == 1) {
    const KeyPtr key(temporary);
    exchange.strength = static_cast<DWORD>(EVP_PKEY_get_bits(key.get()));
    exchange.id = EVP_PKEY_get_base_id(key.get()) == EVP_PKEY_DH ? CALG_DH_EPHEM : CALG_ECDH_EPHEM;
    return exchange;
  }
  switch (SSL_CIPHER_get_kx_nid(cipher)) {
    case NID_kx_rsa:
      exchange.id = CALG_RSA_KEYX;
      if (const X509* const certificate = SSL_get0_peer_certificate(ssl)) {
        exchange.strength = static_cast<DWORD>(EVP_PKEY_get_bits(X509_get0_pubkey(certificate)));
      }
      break;
    case NID_kx_dhe:
      exchange.id = CALG_DH_EPHEM;
      break;
    case NID_kx_ecdhe:
      exchange.id = CALG_ECDH_EPHEM;
      break;
    default:
      break;
  }
  return exchange;
}

SecPkgContext_ConnectionInfo ConnectionInfo(const SSL* ssl) {
  const SSL_CIPHER* const cipher = SSL_get_current_cipher(ssl);
  const int mac = SSL_CIPHER_get_digest_nid(cipher);
  const EVP_MD* const derivation = SSL_CIPHER_get_handshake_digest(cipher);
  const int derivation_nid = derivation != nullptr ? EVP_MD_get_type(derivation) : NID_undef;
  const Algorithm hash = Find(kHashes, mac != NID_undef ? mac : derivation_nid);
  const KeyExchange exchange = KeyExchangeOf(ssl, cipher);
  SecPkgContext_ConnectionInfo info{};
  info.dwProtocol = ProtocolOf(SSL_version(ssl));
  info.aiCipher = Find(kCiphers, SSL_CIPHER_get_cipher_nid(cipher)).id;
  info.dwCipherStrength = static_cast<DWORD>(SSL_CIPHER_get_bits(cipher, nullptr));
  info.aiHash = hash.id;
  info.dwHashStrength = hash.strength;
  info.aiExch = exchange.id;
  info.dwExchStrength = exchange.strength;
  return info;
}

// A new context with all that the server sent; null when it sent none.
PCCERT_CONTEXT RemoteCertificate(const SSL* ssl) {
  X509* const end = SSL_get0_peer_certificate(ssl);
  if (end == nullptr) return nullptr;
  crypt32::CertificateList certificates;
  certificates.push_back(std::make_shared<const crypt32::Certificate>(crypt32::Share(end)));
  const STACK_OF(X509)* const chain = SSL_get_peer_cert_chain(ssl);
  for (int i = 0; i < sk_X509_num(chain); ++i) {
    X509* const each = sk_X509_value(chain, i);
    if (each == end) continue;
    certificates.push_back(std::make_shared<const crypt32::Certificate>(crypt32::Share(each)));
  }
  return crypt32::NewContext(std::move(certificates));
}

struct EncodedName {
  const unsigned char* bytes = nullptr;
  std::size_t size = 0;
};

// In one block, which the caller frees: the records, then the encoded names.
SECURITY_STATUS IssuerList(const SSL* ssl, SecPkgContext_IssuerListInfoEx& list) {
  const STACK_OF(X509_NAME)* const names = SSL_get0_peer_CA_list(ssl);
  std::vector<EncodedName> encoded;
  std::size_t size = 0;
  for (int i = 0; i < sk_X509_NAME_num(names); ++i) {
    EncodedName name;
    if (X509_NAME_get0_der(sk_X509_NAME_value(names, i), &name.bytes, &name.size) != 1) continue;
    encoded.push_back(name);
    size += sizeof(CERT_NAME_BLOB) + name.size;
  }
  list = {};
  if (size == 0) return SEC_E_OK;
  auto* const records = static_cast<CERT_NAME_BLOB*>(std::malloc(size));
  if (records == nullptr) return SEC_E_INSUFFICIENT_MEMORY;
  BYTE* bytes = reinterpret_cast<BYTE*>(records + encoded.size());
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    std::memcpy(bytes, encoded[i].bytes, encoded[i].size);
    records[i] = {static_cast<DWORD>(encoded[i].size), bytes};
    bytes += encoded[i].size;
  }
  list = {records, static_cast<DWORD>(encoded.size())};
  return SEC_E_OK;
}

}  // namespace

SECURITY_STATUS QueryAttribute(const TlsContext& context, ULONG attribute, LPVOID buffer) {
  if (attribute == SECPKG_ATTR_ISSUER_LIST_EX) {  // asked for during the handshake
    return IssuerList(context.ssl(), *static_cast<SecPkgContext_IssuerListInfoEx*>(buffer));
  }
  // There is no cipher while another handshake is under way.
  if (!context.established() || SSL_get_current_cipher(context.ssl()) == nullptr) {
    return SEC_E_INVALID_HANDLE;
  }
  switch (attribute) {
    case SECPKG_ATTR_STREAM_SIZES:
      *static_cast<SecPkgContext_StreamSizes*>(buffer) = context.StreamSizes();
      return SEC_E_OK;
    case SECPKG_ATTR_CONNECTION_INFO:
      *static_cast<SecPkgContext_ConnectionInfo*>(buffer) = ConnectionInfo(context.ssl());
      return SEC_E_OK;
    case SECPKG_ATTR_REMOTE_CERT_CONTEXT: {
      const PCCERT_CONTEXT certificate = RemoteCertificate(context.ssl());
      *static_cast<PCCERT_CONTEXT*>(buffer) = certificate;
      return certificate != nullptr ? SEC_E_OK : SEC_E_NO_CREDENTIALS;
    }
    default:
      return SEC_E_UNSUPPORTED_FUNCTION;
  }
}

}  // namespace platform::security
