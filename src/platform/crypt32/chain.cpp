#include "crypt32/chain.h"

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <ctime>

#include "crypt32/guard.h"
#include "crypt32/stores.h"
#include "crypt32/trust_store.h"

namespace platform::crypt32 {
namespace {

using VerifierPtr = std::unique_ptr<X509_STORE_CTX, OpenSslDelete<X509_STORE_CTX_free>>;

// What is asked of keys and signatures, as OpenSSL grades them: 112 bits of security.
constexpr int kSecurityLevel = 2;

DWORD FindingOf(int error) {
  switch (error) {
    // A revocation list is welcome, not required; and an old one is better than none.
    case X509_V_ERR_UNABLE_TO_GET_CRL:
    case X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER:
    case X509_V_ERR_CRL_NOT_YET_VALID:
    case X509_V_ERR_CRL_HAS_EXPIRED:
    case X509_V_ERR_DIFFERENT_CRL_SCOPE:
      return CERT_TRUST_NO_ERROR;
    case X509_V_ERR_CERT_REVOKED:
      return CERT_TRUST_IS_REVOKED;
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD:
    case X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD:
      return CERT_TRUST_IS_NOT_TIME_VALID;
    case X509_V_ERR_CERT_SIGNATURE_FAILURE:
    case X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE:
    case X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY:
    case X509_V_ERR_SIGNATURE_ALGORITHM_MISMATCH:
      return CERT_TRUST_IS_NOT_SIGNATURE_VALID;
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_CERT_UNTRUSTED:
      return CERT_TRUST_IS_UNTRUSTED_ROOT;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
      return CERT_TRUST_IS_PARTIAL_CHAIN;
    case X509_V_ERR_CERT_REJECTED:
      return CERT_TRUST_IS_EXPLICIT_DISTRUST;
    case X509_V_ERR_INVALID_CA:
    case X509_V_ERR_PATH_LENGTH_EXCEEDED:
    case X509_V_ERR_KEYUSAGE_NO_CERTSIGN:
    case X509_V_ERR_CERT_CHAIN_TOO_LONG:
      return CERT_TRUST_INVALID_BASIC_CONSTRAINTS;
    case X509_V_ERR_PERMITTED_VIOLATION:
    case X509_V_ERR_EXCLUDED_VIOLATION:
    case X509_V_ERR_SUBTREE_MINMAX:
    case X509_V_ERR_UNSUPPORTED_CONSTRAINT_TYPE:
    case X509_V_ERR_UNSUPPORTED_CONSTRAINT_SYNTAX:
    case X509_V_ERR_UNSUPPORTED_NAME_SYNTAX:
      return CERT_TRUST_INVALID_NAME_CONSTRAINTS;
    case X509_V_ERR_INVALID_PURPOSE:
      return CERT_TRUST_IS_NOT_VALID_FOR_USAGE;
    case X509_V_ERR_EE_KEY_TOO_SMALL:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
    case X509_V_ERR_CA_MD_TOO_WEAK:
      return CERT_TRUST_HAS_WEAK_SIGNATURE;
    default:
      return CERT_TRUST_INVALID_EXTENSION;
  }
}

// Findings by their place in the chain.
using Findings = std::vector<DWORD>;

// OpenSSL asks after each finding whether to go on: always, as all of them are wanted.
int CollectFinding(int good, X509_STORE_CTX* verifier) {
  if (good == 1) return 1;
  auto& findings = *static_cast<Findings*>(X509_STORE_CTX_get_app_data(verifier));
  const int depth = X509_STORE_CTX_get_error_depth(verifier);
  const auto place = static_cast<std::size_t>(depth > 0 ? depth : 0);
  try {
    if (findings.size() <= place) findings.resize(place + 1);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  findings[place] |= FindingOf(X509_STORE_CTX_get_error(verifier));
  return 1;
}

time_t ToUnixTime(const FILETIME& time) {
  constexpr ULONGLONG kUnitsPerSecond = 10000000;
  constexpr time_t kSecondsFrom1601To1970 = 11644473600;
  const ULONGLONG units = static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  return static_cast<time_t>(units / kUnitsPerSecond) - kSecondsFrom1601To1970;
}

X509StackPtr Intermediates(const StoreRef& store) {
  X509StackPtr stack(sk_X509_new_null());
  if (stack == nullptr) throw std::bad_alloc();
  if (store == nullptr) return stack;
  for (const CertificateRef& each : *store) {
    X509Ptr certificate = Share(each->x509());
    if (sk_X509_push(stack.get(), certificate.get()) <= 0) throw std::bad_alloc();
    (void)certificate.release();
  }
  return stack;
}

std::vector<ChainContext::Element> Elements(X509_STORE_CTX* verifier, const CertificateContext& end,
                                            Findings findings) {
  const STACK_OF(X509)* const chain = X509_STORE_CTX_get0_chain(verifier);
  const auto count = static_cast<std::size_t>(std::max(sk_X509_num(chain), 1));
  findings.resize(std::max(findings.size(), count));
  std::vector<ChainContext::Element> elements;
  for (std::size_t i = 0; i < count; ++i) {
    elements.push_back({i == 0 ? end.certificate()
                               : std::make_shared<const Certificate>(
                                     Share(sk_X509_value(chain, static_cast<int>(i)))),
                        findings[i]});
  }
  return elements;
}

// Null when the certificate cannot be checked at all.
std::unique_ptr<ChainContext> BuildChain(const CertificateContext& end, const FILETIME* time,
                                         const StoreRef& additional) {
  const std::shared_ptr<X509_STORE> roots = TrustedRoots();
  const X509StackPtr intermediates = Intermediates(additional);
  const VerifierPtr verifier(X509_STORE_CTX_new());
  if (roots == nullptr || verifier == nullptr) throw std::bad_alloc();
  if (X509_STORE_CTX_init(verifier.get(), roots.get(), end.certificate()->x509(),
                          intermediates.get()) != 1) {
    return nullptr;
  }
  X509_VERIFY_PARAM* const parameters = X509_STORE_CTX_get0_param(verifier.get());
  // Whatever certificate the user put among the trusted ones ends a chain.
  X509_VERIFY_PARAM_set_flags(
      parameters, X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
  X509_VERIFY_PARAM_set_auth_level(parameters, kSecurityLevel);
  if (time != nullptr) X509_VERIFY_PARAM_set_time(parameters, ToUnixTime(*time));
  Findings findings;
  X509_STORE_CTX_set_app_data(verifier.get(), &findings);
  X509_STORE_CTX_set_verify_cb(verifier.get(), CollectFinding);
  if (X509_verify_cert(verifier.get()) != 1) {  // given up in the middle
    const int error = X509_STORE_CTX_get_error(verifier.get());
    if (error == X509_V_ERR_OUT_OF_MEM) throw std::bad_alloc();
    const DWORD finding = FindingOf(error);
    findings.resize(std::max<std::size_t>(findings.size(), 1));
    findings[0] |= finding != CERT_TRUST_NO_ERROR ? finding : CERT_TRUST_INVALID_EXTENSION;
  }
  return std::make_unique<ChainContext>(Elements(verifier.get(), end, std::move(findings)));
}

}  // namespace

ChainContext::ChainContext(const std::vector<Element>& elements, std::size_t store_index)
    : CERT_CHAIN_CONTEXT{}, store_index_(store_index) {
  auto store = std::make_shared<CertificateList>();
  for (const Element& element : elements) store->push_back(element.certificate);
  const StoreRef shared_store = std::move(store);

  elements_.reserve(elements.size());  // so that the addresses stay
  DWORD all_findings = 0;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    contexts_.push_back(std::make_unique<CertificateContext>(shared_store, i));
    elements_.push_back(
        {sizeof(CERT_CHAIN_ELEMENT), contexts_.back().get(), {elements[i].findings, 0}});
    element_pointers_.push_back(&elements_.back());
    all_findings |= elements[i].findings;
  }
  simple_ = {sizeof(CERT_SIMPLE_CHAIN),
             {all_findings, 0},
             static_cast<DWORD>(elements_.size()),
             element_pointers_.data()};
  cbSize = sizeof(CERT_CHAIN_CONTEXT);
  TrustStatus = simple_.TrustStatus;
  cChain = 1;
  rgpChain = &simple_pointer_;
}

BOOL WINAPI CertGetCertificateChain(HCERTCHAINENGINE /*engine*/, PCCERT_CONTEXT certificate,
                                    const FILETIME* time, HCERTSTORE additional_store,
                                    const CERT_CHAIN_PARA* parameters, DWORD flags,
                                    LPVOID /*reserved*/, PCCERT_CHAIN_CONTEXT* chain) noexcept {
  return Guarded(BOOL{FALSE}, [&]() -> BOOL {
    if (certificate == nullptr || chain == nullptr || flags != 0 || parameters == nullptr ||
        parameters->RequestedUsage.Usage.cUsageIdentifier != 0) {
      return Fail(BOOL{FALSE}, ERROR_INVALID_PARAMETER);
    }
    auto built = BuildChain(*FromHandle(certificate), time, StoreOf(additional_store));
    if (built == nullptr) return Fail(BOOL{FALSE}, CERT_E_CHAINING);
    *chain = built.release();
    return TRUE;
  });
}

void WINAPI CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT chain) noexcept {
  const std::unique_ptr<const ChainContext> freed(FromHandle(chain));
}

}  // namespace platform::crypt32
