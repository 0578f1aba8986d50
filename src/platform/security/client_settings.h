// What all TLS connections have in common.
#ifndef PLATFORM_SECURITY_CLIENT_SETTINGS_H_
#define PLATFORM_SECURITY_CLIENT_SETTINGS_H_

#include <openssl/ssl.h>

namespace platform::security {

// Made when first asked for; null when OpenSSL cannot make it. The connections made from it have a
// TlsContext as application data.
SSL_CTX* ClientSettings();

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_CLIENT_SETTINGS_H_
