// Certificates and keys that were found side by side.
#ifndef PLATFORM_CRYPT32_KEY_PAIRS_H_
#define PLATFORM_CRYPT32_KEY_PAIRS_H_

#include <string>
#include <vector>

#include "crypt32/certificate.h"

namespace platform::crypt32 {

struct FoundCertificate {
  X509Ptr x509;
  std::u16string friendly_name;
  KeyPtr key = nullptr;
};

// Gives each key to the first certificate that it belongs to; the others are dropped.
CertificateList WithKeys(std::vector<FoundCertificate> found, std::vector<KeyPtr> keys);

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_KEY_PAIRS_H_
