// From the name of a host to one of its addresses.
#ifndef QV_TRANSPORT_RESOLVER_H_
#define QV_TRANSPORT_RESOLVER_H_

#include <optional>
#include <string>

#include "transport/address.h"

namespace qv {

// Looks a host up, by name or address text. Family 0 prefers IPv4 and takes IPv6 for a host that
// has no other; family 23 prefers IPv6 and takes IPv4. Blocks while the name service answers. A
// host that does not exist is QV_ERROR_INVALID_HOSTNAME; other failures carry the socket error's
// number.
Result<InternetAddress> ResolveHost(const char* host, int family);

// The name of this machine; nothing, with the socket error set, on failure.
std::optional<std::string> LocalHostName();

}  // namespace qv

#endif  // QV_TRANSPORT_RESOLVER_H_
