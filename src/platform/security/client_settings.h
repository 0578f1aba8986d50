// What all TLS connections have in common.
#ifndef PLATFORM_SECURITY_CLIENT_SETTINGS_H_
#define PLATFORM_SECURITY_CLIENT_SETTINGS_H_

#include <openssl/ssl.h>

namespace platform::security {

// Made when first asked for; null when OpenSSL cannot make it. The connections made from it have a
// TlsContext as application data. OpenSSL formats the secrets of every handshake for a key log, so
// that only those connections report them that have one.
SSL_CTX* ClientSettings(bool logs_keys);

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_CLIENT_SETTINGS_H_
