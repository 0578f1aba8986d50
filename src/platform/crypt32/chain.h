// Certificate chains: building, checking and finding.
#ifndef PLATFORM_CRYPT32_CHAIN_H_
#define PLATFORM_CRYPT32_CHAIN_H_

#include <cstddef>
#include <memory>
#include <vector>

#include "crypt32/certificate.h"

namespace platform::crypt32 {

// What a PCCERT_CHAIN_CONTEXT points to.
class ChainContext : public CERT_CHAIN_CONTEXT {
 public:
  // From the end certificate upwards (at least one), each with its CERT_TRUST_* findings.
  struct Element {
    CertificateRef certificate;
    DWORD findings;
  };
  explicit ChainContext(const std::vector<Element>& elements, std::size_t store_index = 0);
  ChainContext(const ChainContext&) = delete;
  ChainContext& operator=(const ChainContext&) = delete;

  // Where the store has the end certificate; for chains that were found there.
  std::size_t store_index() const noexcept { return store_index_; }
  X509* certificate(std::size_t element) const noexcept {
    return contexts_[element]->certificate()->x509();
  }

 private:
  std::size_t store_index_;
  std::vector<std::unique_ptr<CertificateContext>> contexts_;
  std::vector<CERT_CHAIN_ELEMENT> elements_;
  std::vector<PCERT_CHAIN_ELEMENT> element_pointers_;
  CERT_SIMPLE_CHAIN simple_{};
  PCERT_SIMPLE_CHAIN simple_pointer_ = &simple_;
};

inline const ChainContext* FromHandle(PCCERT_CHAIN_CONTEXT chain) noexcept {
  return static_cast<const ChainContext*>(chain);
}

BOOL WINAPI CertGetCertificateChain(HCERTCHAINENGINE engine, PCCERT_CONTEXT certificate,
                                    const FILETIME* time, HCERTSTORE additional_store,
                                    const CERT_CHAIN_PARA* parameters, DWORD flags, LPVOID reserved,
                                    PCCERT_CHAIN_CONTEXT* chain) noexcept;
void WINAPI CertFreeCertificateChain(PCCERT_CHAIN_CONTEXT chain) noexcept;
PCCERT_CHAIN_CONTEXT WINAPI CertFindChainInStore(HCERTSTORE store, DWORD encoding, DWORD flags,
                                                 DWORD type, LPCVOID parameters,
                                                 PCCERT_CHAIN_CONTEXT previous) noexcept;
BOOL WINAPI CertVerifyCertificateChainPolicy(LPCSTR policy, PCCERT_CHAIN_CONTEXT chain,
                                             const CERT_CHAIN_POLICY_PARA* parameters,
                                             CERT_CHAIN_POLICY_STATUS* status) noexcept;

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_CHAIN_H_
