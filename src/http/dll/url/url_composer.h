// Puts URLs together from their parts.
#ifndef QV_URL_URL_COMPOSER_H_
#define QV_URL_URL_COMPOSER_H_

#include <optional>
#include <string>

#include "url/url.h"

namespace qv {

// From 5120 characters on, the room for a URL does not count any more.
inline constexpr INT kLargestUrlRoom = 5119;

// The URL's text, which is shorter than `max_length` (counted as 5119 when larger); nothing when it
// is not, when the scheme is unknown or has no host, or when the query cannot be encoded. Empty
// parts count as absent. Options: HTTP_URLOPT_NORMALIZE, HTTP_URLOPT_ENCODEQUERY.
std::optional<std::string> CreateUrl(const Url& url, DWORD options, INT max_length);

}  // namespace qv

#endif  // QV_URL_URL_COMPOSER_H_
