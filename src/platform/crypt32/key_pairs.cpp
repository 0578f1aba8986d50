#include "crypt32/key_pairs.h"

#include <algorithm>

namespace platform::crypt32 {

CertificateList WithKeys(std::vector<FoundCertificate> found, std::vector<KeyPtr> keys) {
  for (KeyPtr& key : keys) {
    const auto owner = std::find_if(found.begin(), found.end(), [&](const FoundCertificate& each) {
      return each.key == nullptr && X509_check_private_key(each.x509.get(), key.get()) == 1;
    });
    if (owner != found.end()) owner->key = std::move(key);
  }
  CertificateList certificates;
  for (FoundCertificate& each : found) {
    certificates.push_back(std::make_shared<const Certificate>(
        std::move(each.x509), std::move(each.key), std::move(each.friendly_name)));
  }
  return certificates;
}

}  // namespace platform::crypt32
