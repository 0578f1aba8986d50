// The target of a request line (RFC 9112 section 3.2).
#ifndef QV_PROTOCOL_REQUEST_TARGET_H_
#define QV_PROTOCOL_REQUEST_TARGET_H_

#include <string>
#include <string_view>

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

struct Session;

struct RequestTarget {
  std::string prefix;  // scheme and host of an absolute target, empty for a path
  std::string path;    // encoded
  std::string query;   // encoded, without "?"
};

// Where a request for `resource` is sent: a path, or an absolute URL for a proxy.
// QV_ERROR_INVALID_FILE_NAME (the encoded path is 511 characters or more),
// QV_ERROR_DATA_NOT_ENCODED, QV_ERROR_INVALID_RESOURCE (a line break), QV_ERROR_INVALID_PROXY_TYPE.
Result<RequestTarget> MakeRequestTarget(const Session& session, std::string_view resource);

// "host" as it stands in a URL or a Host field: an IPv6 address in brackets.
std::string HostForUrl(std::string_view host);

}  // namespace qv

#endif  // QV_PROTOCOL_REQUEST_TARGET_H_
