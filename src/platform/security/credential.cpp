#include "security/credential.h"

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <new>

namespace platform::security {
namespace {

using crypt32::CertificateList;
using crypt32::CertificateRef;
using crypt32::Share;
using crypt32::X509Ptr;
using crypt32::X509StackPtr;

constexpr struct {
  DWORD bit;
  int version;
} kVersions[] = {{SP_PROT_TLS1_CLIENT, TLS1_VERSION},
                 {SP_PROT_TLS1_1_CLIENT, TLS1_1_VERSION},
                 {SP_PROT_TLS1_2_CLIENT, TLS1_2_VERSION},
                 {SP_PROT_TLS1_3_CLIENT, TLS1_3_VERSION}};
constexpr DWORD kDefaultProtocols = SP_PROT_TLS1_2_CLIENT | SP_PROT_TLS1_3_CLIENT;

// Both descriptions in one form.
struct Wanted {
  DWORD certificates;
  PCCERT_CONTEXT* certificate;
  DWORD protocols;
  DWORD flags;
};

Wanted Read(const SCHANNEL_CRED& description) {
  return {description.cCreds, description.paCred,
          description.grbitEnabledProtocols != 0 ? description.grbitEnabledProtocols
                                                 : kDefaultProtocols,
          description.dwFlags};
}

Wanted Read(const SCH_CREDENTIALS& description) {
  const bool restricted = description.cTlsParameters != 0 && description.pTlsParameters != nullptr;
  const DWORD disabled = restricted ? description.pTlsParameters->grbitDisabledProtocols : 0;
  return {description.cCreds, description.paCred, kDefaultProtocols & ~disabled,
          description.dwFlags};
}

// The issuers of a certificate as far as its store has them, without the root, which the server has
// itself.
X509StackPtr Intermediates(const CertificateRef& end, const CertificateList& store) {
  constexpr int kMaxIntermediates = 16;
  X509StackPtr stack(sk_X509_new_null());
  if (stack == nullptr) throw std::bad_alloc();
  X509* current = end->x509();
  while (sk_X509_num(stack.get()) < kMaxIntermediates) {
    const auto issuer = std::find_if(store.begin(), store.end(), [&](const CertificateRef& each) {
      return X509_check_issued(each->x509(), current) == X509_V_OK;
    });
    if (issuer == store.end()) break;
    current = (*issuer)->x509();
    if (X509_check_issued(current, current) == X509_V_OK) break;
    X509Ptr shared = Share(current);
    if (sk_X509_push(stack.get(), shared.get()) <= 0) throw std::bad_alloc();
    (void)shared.release();
  }
  return stack;
}

std::string Fingerprint(const X509* certificate) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  if (X509_digest(certificate, EVP_sha256(), digest.data(), &size) != 1) throw std::bad_alloc();
  return {reinterpret_cast<const char*>(digest.data()), size};
}

SECURITY_STATUS Make(const Wanted& wanted, CredentialRef& credential) {
  if ((wanted.flags & SCH_CRED_MANUAL_CRED_VALIDATION) == 0) return SEC_E_UNSUPPORTED_FUNCTION;
  if (wanted.certificates > 1) return SEC_E_UNKNOWN_CREDENTIALS;
  auto made = std::make_shared<Credential>();
  for (const auto& each : kVersions) {
    if ((wanted.protocols & each.bit) == 0) continue;
    if (made->lowest_version == 0) made->lowest_version = each.version;
    made->highest_version = each.version;
  }
  if (made->lowest_version == 0) return SEC_E_ALGORITHM_MISMATCH;
  if (wanted.certificates == 1) {
    if (wanted.certificate == nullptr || wanted.certificate[0] == nullptr) {
      return SEC_E_UNKNOWN_CREDENTIALS;
    }
    const crypt32::CertificateContext& context = *crypt32::FromHandle(wanted.certificate[0]);
    made->certificate = context.certificate();
    if (made->certificate->key() == nullptr) return SEC_E_NO_CREDENTIALS;
    made->intermediates = Intermediates(made->certificate, *context.store());
    made->fingerprint = Fingerprint(made->certificate->x509());
  }
  made->key_log = KeyLog::FromEnvironment();
  credential = std::move(made);
  return SEC_E_OK;
}

}  // namespace

SECURITY_STATUS MakeCredential(const void* description, CredentialRef& credential) {
  if (description == nullptr) return SEC_E_UNKNOWN_CREDENTIALS;
  switch (*static_cast<const DWORD*>(description)) {
    case SCHANNEL_CRED_VERSION:
      return Make(Read(*static_cast<const SCHANNEL_CRED*>(description)), credential);
    case SCH_CREDENTIALS_VERSION:
      return Make(Read(*static_cast<const SCH_CREDENTIALS*>(description)), credential);
    default:
      return SEC_E_UNKNOWN_CREDENTIALS;
  }
}

}  // namespace platform::security
