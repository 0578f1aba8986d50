// What was negotiated with a secure server, as the public record tells it.
#ifndef QV_TLS_SECURITY_INFO_H_
#define QV_TLS_SECURITY_INFO_H_

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

struct Session;

// Fills a record that is zero but for its size; the texts belong to the session. A session that is
// not secure leaves it so. QV_ERROR_SECURITY_NOT_INITIALIZED, QV_ERROR_SECURITY_CONTEXT.
Error DescribeSecurity(Session& session, SECURITYINFOA& info);

}  // namespace qv

#endif  // QV_TLS_SECURITY_INFO_H_
