// The schemes of URLs.
#ifndef QV_URL_SCHEME_TABLE_H_
#define QV_URL_SCHEME_TABLE_H_

#include <string_view>

#include "qvhttp12.h"

namespace qv {

struct Scheme {
  std::string_view name;
  DWORD id;  // HTTP_SCHEME_*
  DWORD default_port;
};

// By name, without case; NULL when it is not known.
const Scheme* FindScheme(std::string_view name);

// The entry that names a scheme when a URL is composed; NULL when there is none.
const Scheme* FindScheme(DWORD id);

}  // namespace qv

#endif  // QV_URL_SCHEME_TABLE_H_
