// The parts of a URL.
#ifndef QV_URL_URL_H_
#define QV_URL_URL_H_

#include <optional>
#include <string>

#include "qvhttp12.h"

namespace qv {

struct Url {
  DWORD scheme = 0;      // HTTP_SCHEME_*; 0 composes a relative reference
  DWORD port = 0;        // the scheme's default when the URL names none
  std::string host;      // an IPv6 address without its brackets
  std::string resource;  // the path
  std::optional<std::string> query;
  std::optional<std::string> user;
  std::optional<std::string> password;
};

}  // namespace qv

#endif  // QV_URL_URL_H_
