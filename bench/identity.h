// The certificate of the measurements' server.
#ifndef BENCH_IDENTITY_H_
#define BENCH_IDENTITY_H_

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace bench {

struct FreeContext {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using ContextPtr = std::unique_ptr<SSL_CTX, FreeContext>;

// A server's context with a new key (ECDSA, P-256) and a certificate for 127.0.0.1 that it signed
// itself, which is written to `file` as PEM.
ContextPtr NewServerContext(const std::string& file);

// The context of a server with the same certificate that resumes no session.
ContextPtr WithoutResumption(SSL_CTX* context);

// A client's context that trusts the certificate in `file`.
ContextPtr NewClientContext(const std::string& file);

}  // namespace bench

#endif  // BENCH_IDENTITY_H_
