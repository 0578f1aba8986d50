// What a chain must satisfy: the basic policy, and that of a TLS peer.
#include <openssl/x509v3.h>

#include <string>

#include "crypt32/chain.h"
#include "crypt32/guard.h"
#include "crypt32/server_name.h"
#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

struct Verdict {
  DWORD error = 0;
  LONG element = -1;
};

// The most serious first.
constexpr struct {
  DWORD finding;
  DWORD error;
} kVerdicts[] = {
    {CERT_TRUST_IS_EXPLICIT_DISTRUST, TRUST_E_EXPLICIT_DISTRUST},
    {CERT_TRUST_IS_REVOKED, CERT_E_REVOKED},
    {CERT_TRUST_IS_NOT_SIGNATURE_VALID, TRUST_E_CERT_SIGNATURE},
    {CERT_TRUST_IS_UNTRUSTED_ROOT, CERT_E_UNTRUSTEDROOT},
    // Nobody that is trusted here vouches for the topmost certificate.
    {CERT_TRUST_IS_PARTIAL_CHAIN, CERT_E_UNTRUSTEDCA},
    {CERT_TRUST_INVALID_BASIC_CONSTRAINTS, TRUST_E_BASIC_CONSTRAINTS},
    {CERT_TRUST_INVALID_NAME_CONSTRAINTS, CERT_E_INVALID_NAME},
    {CERT_TRUST_IS_NOT_VALID_FOR_USAGE, CERT_E_WRONG_USAGE},
    {CERT_TRUST_HAS_WEAK_SIGNATURE, CERT_E_CHAINING},
    {CERT_TRUST_INVALID_EXTENSION, CERT_E_MALFORMED},
    {CERT_TRUST_IS_NOT_TIME_VALID, CERT_E_EXPIRED},
};

Verdict CheckFindings(const ChainContext& chain) {
  const CERT_SIMPLE_CHAIN& simple = *chain.rgpChain[0];
  for (const auto& each : kVerdicts) {
    for (DWORD i = 0; i < simple.cElement; ++i) {
      if ((simple.rgpElement[i]->TrustStatus.dwErrorStatus & each.finding) != 0) {
        return {each.error, static_cast<LONG>(i)};
      }
    }
  }
  return {};
}

Verdict CheckUsage(const ChainContext& chain, int purpose) {
  const DWORD count = chain.rgpChain[0]->cElement;
  for (DWORD i = 0; i < count; ++i) {
    const bool is_authority = i != 0;
    if (X509_check_purpose(chain.certificate(i), purpose, is_authority ? 1 : 0) == 0) {
      return {CERT_E_WRONG_USAGE, static_cast<LONG>(i)};
    }
  }
  return {};
}

Verdict CheckName(const ChainContext& chain, LPCWSTR wanted) {
  const ServerName name = ParseServerName(FromWide(wanted, CP_UTF8));
  X509* const end = chain.certificate(0);
  const bool matches =
      name.is_address
          ? X509_check_ip_asc(end, name.text.c_str(), 0) == 1
          : !name.text.empty() && name.text.front() != '.' &&  // that asks for any label
                X509_check_host(end, name.text.data(), name.text.size(),
                                X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS, nullptr) == 1;
  return matches ? Verdict{} : Verdict{CERT_E_CN_NO_MATCH, 0};
}

Verdict CheckSslPolicy(const ChainContext& chain, const HTTPSPolicyCallbackData* details) {
  const bool is_client = details != nullptr && details->dwAuthType == AUTHTYPE_CLIENT;
  const Verdict usage =
      CheckUsage(chain, is_client ? X509_PURPOSE_SSL_CLIENT : X509_PURPOSE_SSL_SERVER);
  if (usage.error != 0 || details == nullptr || details->pwszServerName == nullptr) return usage;
  return CheckName(chain, details->pwszServerName);
}

}  // namespace

BOOL WINAPI CertVerifyCertificateChainPolicy(LPCSTR policy, PCCERT_CHAIN_CONTEXT chain,
                                             const CERT_CHAIN_POLICY_PARA* parameters,
                                             CERT_CHAIN_POLICY_STATUS* status) noexcept {
  return Guarded(BOOL{FALSE}, [&]() -> BOOL {
    const bool is_ssl = policy == CERT_CHAIN_POLICY_SSL;
    if (!is_ssl && policy != CERT_CHAIN_POLICY_BASE) return Fail(BOOL{FALSE}, ERROR_FILE_NOT_FOUND);
    const auto* const details =
        parameters != nullptr && is_ssl
            ? static_cast<const HTTPSPolicyCallbackData*>(parameters->pvExtraPolicyPara)
            : nullptr;
    // Findings are never excused here.
    if (chain == nullptr || status == nullptr ||
        (parameters != nullptr && parameters->dwFlags != 0) ||
        (details != nullptr && details->fdwChecks != 0)) {
      return Fail(BOOL{FALSE}, ERROR_INVALID_PARAMETER);
    }
    const ChainContext& checked = *FromHandle(chain);
    Verdict verdict = CheckFindings(checked);
    if (verdict.error == 0 && is_ssl) verdict = CheckSslPolicy(checked, details);
    status->dwError = verdict.error;
    status->lChainIndex = verdict.element >= 0 ? 0 : -1;
    status->lElementIndex = verdict.element;
    return TRUE;
  });
}

}  // namespace platform::crypt32
