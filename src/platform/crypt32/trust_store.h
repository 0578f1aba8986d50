// The trusted roots.
#ifndef PLATFORM_CRYPT32_TRUST_STORE_H_
#define PLATFORM_CRYPT32_TRUST_STORE_H_

#include <openssl/x509_vfy.h>

#include <memory>

namespace platform::crypt32 {

// OpenSSL's default roots and revocation lists, or those that SSL_CERT_FILE and SSL_CERT_DIR name.
// Read again when the variables, the file or the folder have changed. Null when there is no memory.
std::shared_ptr<X509_STORE> TrustedRoots();

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_TRUST_STORE_H_
