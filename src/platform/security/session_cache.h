// Sessions that later connections may resume.
#ifndef PLATFORM_SECURITY_SESSION_CACHE_H_
#define PLATFORM_SECURITY_SESSION_CACHE_H_

#include <openssl/ssl.h>

#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "crypt32/openssl_ptr.h"

namespace platform::security {

using SslSessionPtr = std::unique_ptr<SSL_SESSION, crypt32::OpenSslDelete<SSL_SESSION_free>>;

// Bounded in all and per key; the oldest go first. Used by any threads. Sessions are never shared
// with connections: OpenSSL marks the session of one that fails.
class SessionCache {
 public:
  static SessionCache& Instance();

  void Put(const std::string& key, SslSessionPtr session);

  // The newest usable session, null when there is none. Those of TLS 1.3 are given out once only
  // (RFC 8446 appendix C.4).
  SslSessionPtr Take(const std::string& key);

  // For sessions with which a handshake failed.
  void Forget(const std::string& key);

 private:
  struct Entry {
    std::string key;
    SslSessionPtr session;
  };

  std::mutex mutex_;
  std::list<Entry> entries_;  // the newest first
};

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_SESSION_CACHE_H_
