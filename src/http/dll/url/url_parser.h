// Taking URLs apart.
#ifndef QV_URL_URL_PARSER_H_
#define QV_URL_URL_PARSER_H_

#include <optional>
#include <string>
#include <string_view>

#include "qvhttp12.h"

namespace qv {

struct Url {
  DWORD scheme = 0;  // HTTP_SCHEME_*; 0 = none
  DWORD port = 0;
  std::string host;      // an IPv6 address without brackets
  std::string resource;  // the path
  std::optional<std::string> query;
  std::optional<std::string> user;
  std::optional<std::string> password;
};

// One scheme that the library knows.
struct Scheme {
  std::string_view name;
  DWORD id;
  DWORD default_port;
};

// The scheme of that name, without case; NULL when it is not known.
const Scheme* FindScheme(std::string_view name);

// The first scheme with that id; NULL when there is none.
const Scheme* FindScheme(DWORD id);

// The contracts of HttpCheckUrl and HttpParseUrl.
DWORD CheckUrl(std::string_view text);
std::optional<Url> ParseUrl(std::string_view text, DWORD options);

}  // namespace qv

#endif  // QV_URL_URL_PARSER_H_
