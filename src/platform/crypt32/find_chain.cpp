// Client certificates that fit what a server asks for.
#include <openssl/x509v3.h>

#include <algorithm>
#include <cstring>

#include "crypt32/chain.h"
#include "crypt32/guard.h"
#include "crypt32/stores.h"

namespace platform::crypt32 {
namespace {

using NamePtr = std::unique_ptr<X509_NAME, OpenSslDelete<X509_NAME_free>>;
using ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpenSslDelete<ASN1_OBJECT_free>>;

inline void FreeUsages(EXTENDED_KEY_USAGE* usages) {
  sk_ASN1_OBJECT_pop_free(usages, ASN1_OBJECT_free);
}
using UsagesPtr = std::unique_ptr<EXTENDED_KEY_USAGE, OpenSslDelete<FreeUsages>>;

constexpr std::size_t kMaxChain = 16;

std::vector<NamePtr> Decode(const CERT_CHAIN_FIND_BY_ISSUER_PARA& parameters) {
  std::vector<NamePtr> names;
  for (DWORD i = 0; i < parameters.cIssuer; ++i) {
    const unsigned char* bytes = parameters.rgIssuer[i].pbData;
    NamePtr name(d2i_X509_NAME(nullptr, &bytes, static_cast<long>(parameters.rgIssuer[i].cbData)));
    if (name != nullptr) names.push_back(std::move(name));
  }
  return names;
}

bool IsWithinValidity(const X509* certificate) {
  return X509_cmp_current_time(X509_get0_notBefore(certificate)) < 0 &&
         X509_cmp_current_time(X509_get0_notAfter(certificate)) > 0;
}

// Certificates without a list of usages are for all of them.
bool AllowsUsage(const X509* certificate, LPCSTR usage) {
  if (usage == nullptr) return true;
  const UsagesPtr allowed(static_cast<EXTENDED_KEY_USAGE*>(
      X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr)));
  if (allowed == nullptr) return true;
  const ObjectPtr wanted(OBJ_txt2obj(usage, 1));
  for (int i = 0; i < sk_ASN1_OBJECT_num(allowed.get()); ++i) {
    const ASN1_OBJECT* const each = sk_ASN1_OBJECT_value(allowed.get(), i);
    if (OBJ_obj2nid(each) == NID_anyExtendedKeyUsage) return true;
    if (wanted != nullptr && OBJ_cmp(each, wanted.get()) == 0) return true;
  }
  return false;
}

CertificateRef IssuerOf(const Certificate& certificate, const CertificateList& store) {
  const auto found = std::find_if(store.begin(), store.end(), [&](const CertificateRef& candidate) {
    return X509_check_issued(candidate->x509(), certificate.x509()) == X509_V_OK;
  });
  return found != store.end() ? *found : nullptr;
}

// A certificate and its issuers, as far as the store has them.
std::vector<ChainContext::Element> ChainOf(const CertificateRef& end,
                                           const CertificateList& store) {
  std::vector<ChainContext::Element> chain;
  for (CertificateRef next = end; next != nullptr && chain.size() < kMaxChain;) {
    chain.push_back({next, CERT_TRUST_NO_ERROR});
    const CertificateRef issuer = IssuerOf(*next, store);
    next = issuer != next ? issuer : nullptr;
  }
  return chain;
}

bool IsIssuedByOneOf(const std::vector<ChainContext::Element>& chain,
                     const std::vector<NamePtr>& issuers) {
  return std::any_of(chain.begin(), chain.end(), [&](const ChainContext::Element& element) {
    const X509_NAME* const issuer = X509_get_issuer_name(element.certificate->x509());
    return std::any_of(issuers.begin(), issuers.end(), [issuer](const NamePtr& accepted) {
      return X509_NAME_cmp(issuer, accepted.get()) == 0;
    });
  });
}

}  // namespace

PCCERT_CHAIN_CONTEXT WINAPI CertFindChainInStore(HCERTSTORE store, DWORD /*encoding*/,
                                                 DWORD /*flags*/, DWORD type, LPCVOID parameters,
                                                 PCCERT_CHAIN_CONTEXT previous) noexcept {
  return Guarded(PCCERT_CHAIN_CONTEXT{nullptr}, [&]() -> PCCERT_CHAIN_CONTEXT {
    std::size_t index = previous != nullptr ? FromHandle(previous)->store_index() + 1 : 0;
    CertFreeCertificateChain(previous);
    const auto* const wanted = static_cast<const CERT_CHAIN_FIND_BY_ISSUER_PARA*>(parameters);
    if (type != CERT_CHAIN_FIND_BY_ISSUER || wanted == nullptr ||
        wanted->pfnFindCallback != nullptr) {
      return Fail(PCCERT_CHAIN_CONTEXT{nullptr}, ERROR_INVALID_PARAMETER);
    }
    const std::vector<NamePtr> issuers = Decode(*wanted);
    const StoreRef certificates = StoreOf(store);
    for (; certificates != nullptr && index < certificates->size(); ++index) {
      const CertificateRef& candidate = (*certificates)[index];
      if (candidate->key() == nullptr || !IsWithinValidity(candidate->x509()) ||
          !AllowsUsage(candidate->x509(), wanted->pszUsageIdentifier)) {
        continue;
      }
      const auto chain = ChainOf(candidate, *certificates);
      if (wanted->cIssuer == 0 || IsIssuedByOneOf(chain, issuers)) {
        return new ChainContext(chain, index);
      }
    }
    return Fail(PCCERT_CHAIN_CONTEXT{nullptr}, CRYPT_E_NOT_FOUND);
  });
}

}  // namespace platform::crypt32
