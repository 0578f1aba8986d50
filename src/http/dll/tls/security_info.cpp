#include "tls/security_info.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>

#include "frame/session.h"
#include "frame/wide.h"
#include "platform/file_time.h"
#include "tls/security_binding.h"
#include "tls/validation.h"
#include "transfer/charset.h"

namespace qv {
namespace {

struct Mapping {
  DWORD provider;
  DWORD value;
};

constexpr Mapping kProtocols[] = {
    {SP_PROT_SSL2_CLIENT, SECURITY_PROTOCOL_SSL2},
    {SP_PROT_SSL3_CLIENT, SECURITY_PROTOCOL_SSL3},
    {SP_PROT_TLS1_CLIENT, SECURITY_PROTOCOL_TLS10},
    {SP_PROT_TLS1_1_CLIENT, SECURITY_PROTOCOL_TLS11},
    {SP_PROT_TLS1_2_CLIENT, SECURITY_PROTOCOL_TLS12},
    {SP_PROT_TLS1_3_CLIENT, SECURITY_PROTOCOL_TLS13},
};
// Algorithm identifiers of the provider.
constexpr Mapping kCiphers[] = {
    {0x6601, SECURITY_CIPHER_DES},       // DES
    {0x6602, SECURITY_CIPHER_RC2},       // RC2
    {0x6603, SECURITY_CIPHER_3DES},      // triple DES
    {0x6604, SECURITY_CIPHER_DESX},      // DESX
    {0x6609, SECURITY_CIPHER_3DES},      // triple DES with two keys
    {0x660A, SECURITY_CIPHER_SKIPJACK},  // Skipjack
    {0x660D, SECURITY_CIPHER_RC5},       // RC5
    {0x660E, SECURITY_CIPHER_AES},       // AES, 128 bits
    {0x660F, SECURITY_CIPHER_AES},       // AES, 192 bits
    {0x6610, SECURITY_CIPHER_AES},       // AES, 256 bits
    {0x6611, SECURITY_CIPHER_AES},       // AES
    {0x6801, SECURITY_CIPHER_RC4},       // RC4
};
constexpr Mapping kHashes[] = {
    {0x8003, SECURITY_HASH_MD5},    {0x8004, SECURITY_HASH_SHA1},   {0x800C, SECURITY_HASH_SHA256},
    {0x800D, SECURITY_HASH_SHA384}, {0x800E, SECURITY_HASH_SHA512},
};
constexpr Mapping kKeyExchanges[] = {
    {0x2400, SECURITY_KEYEX_RSA},   // RSA signature
    {0xA400, SECURITY_KEYEX_RSA},   // RSA key exchange
    {0xAA01, SECURITY_KEYEX_DH},    // Diffie-Hellman, store and forward
    {0xAA02, SECURITY_KEYEX_DH},    // ephemeral Diffie-Hellman
    {0xAA04, SECURITY_KEYEX_KEA},   // KEA
    {0xAA05, SECURITY_KEYEX_ECDH},  // Diffie-Hellman over elliptic curves
    {0xAE06, SECURITY_KEYEX_ECDH},  // the same, ephemeral
};
constexpr Mapping kStatuses[] = {
    {0, SECURITY_CERT_VALID},
    {CERT_E_CN_NO_MATCH, SECURITY_CERT_NAME_MISMATCH},
    {CERT_E_EXPIRED, SECURITY_CERT_EXPIRED},
    {CERT_E_REVOKED, SECURITY_CERT_REVOKED},
    {CERT_E_UNTRUSTEDROOT, SECURITY_CERT_UNTRUSTED},
    {CERT_E_UNTRUSTEDTESTROOT, SECURITY_CERT_UNTRUSTED},
    {TRUST_E_EXPLICIT_DISTRUST, SECURITY_CERT_UNTRUSTED},
    {CERT_E_UNTRUSTEDCA, SECURITY_CERT_UNTRUSTED},
};
// The same number for every property.
constexpr DWORD kUnknown = SECURITY_PROTOCOL_UNKNOWN;
static_assert(kUnknown == SECURITY_CIPHER_UNKNOWN && kUnknown == SECURITY_HASH_UNKNOWN &&
              kUnknown == SECURITY_KEYEX_UNKNOWN);

DWORD Map(std::span<const Mapping> table, DWORD provider, DWORD otherwise) {
  const auto entry = std::find_if(table.begin(), table.end(), [provider](const Mapping& mapping) {
    return mapping.provider == provider;
  });
  return entry != table.end() ? entry->value : otherwise;
}

std::optional<std::string> FormatName(CERT_NAME_BLOB name, DWORD type) {
  constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
  const auto format = Certificates().CertNameToStrA;
  const DWORD length = format(kEncoding, &name, type, nullptr, 0);
  if (length == 0) return std::nullopt;
  std::string text(length, '\0');
  format(kEncoding, &name, type, text.data(), length);
  text.resize(text.find('\0') != text.npos ? text.find('\0') : text.size());
  Result<std::u16string> wide = WideFromCodePage(text, CP_ACP);
  return wide ? Utf8FromWide(*wide) : text;
}

void DescribeCertificate(Session& session, const CERT_CONTEXT& certificate, SECURITYINFOA& info) {
  const CERT_INFO& details = *certificate.pCertInfo;
  TlsState& tls = session.tls;
  tls.issuer = FormatName(details.Issuer, CERT_X500_NAME_STR | CERT_NAME_STR_NO_PLUS_FLAG);
  tls.subject = FormatName(details.Subject, CERT_X500_NAME_STR);
  if (tls.issuer) info.lpszCertIssuer = tls.issuer->c_str();
  if (tls.subject) info.lpszCertSubject = tls.subject->c_str();
  FileTimeToSystemTime(&details.NotBefore, &info.stCertIssued);
  FileTimeToSystemTime(&details.NotAfter, &info.stCertExpires);
}

}  // namespace

Error DescribeSecurity(Session& session, SECURITYINFOA& info) {
  if (!SecurityWasAsked()) return kNoError;
  if (BindSecurity()) return QV_ERROR_SECURITY_NOT_INITIALIZED;
  if (!session.Has(HTTP_OPTION_SECURE)) return kNoError;
  const auto& channel = session.connection.channel;
  SecurityContext* const context = channel ? channel->security() : nullptr;
  SecPkgContext_ConnectionInfo connection{};
  if (context == nullptr ||
      SecurityProvider().QueryContextAttributesA(context->handle(), SECPKG_ATTR_CONNECTION_INFO,
                                                 &connection) != SEC_E_OK) {
    return QV_ERROR_SECURITY_CONTEXT;
  }
  info.dwProtocol = Map(kProtocols, connection.dwProtocol, kUnknown);
  info.dwCipher = Map(kCiphers, connection.aiCipher, kUnknown);
  info.dwCipherStrength = connection.dwCipherStrength;
  info.dwHash = Map(kHashes, connection.aiHash, kUnknown);
  info.dwHashStrength = connection.dwHashStrength;
  info.dwKeyExchange = Map(kKeyExchanges, connection.aiExch, kUnknown);
  info.dwCertStatus = Map(kStatuses, session.tls.certificate_status, SECURITY_CERT_INVALID);
  session.tls.issuer.reset();
  session.tls.subject.reset();
  if (const Certificate certificate = ServerCertificate(*context)) {
    DescribeCertificate(session, *certificate, info);
  }
  return kNoError;
}

}  // namespace qv
