// Checking the server's certificate.
#ifndef QV_TLS_VALIDATION_H_
#define QV_TLS_VALIDATION_H_

#include "frame/error.h"
#include "tls/client_credential.h"
#include "tls/security_context.h"

namespace qv {

struct Session;

// The certificate that the server presented; NULL without one.
Certificate ServerCertificate(SecurityContext& context);

// Checks chain, validity and name, and keeps the outcome in the session. With
// HTTP_OPTION_TRUSTEDSITE everything is good. QV_ERROR_SECURITY_CERTIFICATE (refused; the session
// can be used all the same), QV_ERROR_INVALID_HOSTNAME.
Error ValidateServerCertificate(Session& session, SecurityContext& context);

}  // namespace qv

#endif  // QV_TLS_VALIDATION_H_
