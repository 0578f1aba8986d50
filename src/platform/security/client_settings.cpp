#include "security/client_settings.h"

#include "security/tls_context.h"

namespace platform::security {
namespace {

TlsContext& ContextOf(const SSL* ssl) { return *static_cast<TlsContext*>(SSL_get_app_data(ssl)); }

int OnCertificateRequest(SSL* ssl, void* /*argument*/) {
  return ContextOf(ssl).OnCertificateRequest();
}

int OnNewSession(SSL* ssl, SSL_SESSION* session) {
  ContextOf(ssl).OnNewSession(session);
  return 0;  // the reference stays with OpenSSL
}

void OnKeyLogLine(const SSL* ssl, const char* line) { ContextOf(ssl).OnKeyLogLine(line); }

// The certificate is checked by who uses the connection.
int AcceptCertificate(X509_STORE_CTX* /*verifier*/, void* /*argument*/) { return 1; }

SSL_CTX* Make(bool logs_keys) {
  SSL_CTX* const settings = SSL_CTX_new(TLS_client_method());
  if (settings == nullptr) return nullptr;
  SSL_CTX_set_verify(settings, SSL_VERIFY_NONE, nullptr);
  SSL_CTX_set_cert_verify_callback(settings, AcceptCertificate, nullptr);
  // Only what the credential names is sent along with the client's certificate.
  SSL_CTX_set_mode(settings, SSL_MODE_NO_AUTO_CHAIN);
  SSL_CTX_set_cert_cb(settings, OnCertificateRequest, nullptr);
  SSL_CTX_set_session_cache_mode(settings, SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
  SSL_CTX_sess_set_new_cb(settings, OnNewSession);
  if (logs_keys) SSL_CTX_set_keylog_callback(settings, OnKeyLogLine);
  return settings;
}

}  // namespace

SSL_CTX* ClientSettings(bool logs_keys) {
  if (logs_keys) {
    static SSL_CTX* const logging = Make(true);
    return logging;
  }
  static SSL_CTX* const settings = Make(false);
  return settings;
}

}  // namespace platform::security
