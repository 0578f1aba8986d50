// Making a connected session secure.
#ifndef QV_TLS_SECURE_SESSION_H_
#define QV_TLS_SECURE_SESSION_H_

#include "frame/error.h"

namespace qv {

struct Session;

// Acquires the credential for the first connection, so that a wrong one fails before anything is
// sent. Errors of BindSecurity and AcquireClientCredential.
Error PrepareSecurity(Session& session);

// Performs the handshake on the session's socket and replaces its channel by a secure one. A
// certificate that is refused is no failure: the reason is left in the thread's error slot. But a
// session whose server was good is not connected again to one that is not.
// QV_ERROR_SECURITY_CERTIFICATE.
Error StartSecurity(Session& session);

// For those who connect on behalf of an application that cannot look at the session first:
// QV_ERROR_SECURITY_CERTIFICATE when it is secure and its server's certificate is not good.
Error RequireGoodCertificate(const Session& session);

}  // namespace qv

#endif  // QV_TLS_SECURE_SESSION_H_
