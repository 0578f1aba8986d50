// The URLs that a session can tell.
#ifndef QV_PROTOCOL_SESSION_URLS_H_
#define QV_PROTOCOL_SESSION_URLS_H_

#include <optional>
#include <string>

#include "qvplatform.h"

namespace qv {

struct Session;

inline constexpr INT kUrlCapacity = 5120;

// The URL of the current resource, shorter than `capacity`; nothing when it does not fit.
std::optional<std::string> ResourceUrlOf(const Session& session, INT capacity);

// Where the last response redirected to; empty when it did not.
std::optional<std::string> RedirectUrlOf(const Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_SESSION_URLS_H_
