// Where a request goes, as far as credentials are concerned.
#ifndef QV_PROTOCOL_ORIGIN_H_
#define QV_PROTOCOL_ORIGIN_H_

#include <string>

#include "qvplatform.h"

namespace qv {

struct Session;

// Scheme, host and port (RFC 6454 section 4).
struct Origin {
  std::string host;
  UINT port = 0;
  bool secure = false;
};

// The origin that the session's next request goes to.
Origin OriginOf(const Session& session);

// Whether credentials that were set for `bound` may be sent to `target`: to the same origin, and to
// the same host over TLS on the default ports when they were set in clear.
bool MaySendCredentials(const Origin& bound, const Origin& target);

}  // namespace qv

#endif  // QV_PROTOCOL_ORIGIN_H_
