// The name of a server as TLS and certificates know it.
#ifndef PLATFORM_CRYPT32_SERVER_NAME_H_
#define PLATFORM_CRYPT32_SERVER_NAME_H_

#include <string>

#include "qvplatform.h"

namespace platform::crypt32 {

struct ServerName {
  std::string text;  // a host name in ASCII without the root's full stop, or an IP address
  bool is_address = false;
};

// Understands IPv6 addresses in brackets and with a zone, IPv4 addresses in short forms, and
// internationalized names as far as normaliz is there. Empty for a name that cannot be one.
QVPLATFORM_API ServerName ParseServerName(std::string name);

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_SERVER_NAME_H_
