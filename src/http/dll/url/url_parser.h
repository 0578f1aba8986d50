// Splits URLs into their parts.
#ifndef QV_URL_URL_PARSER_H_
#define QV_URL_URL_PARSER_H_

#include <optional>
#include <string_view>

#include "url/url.h"

namespace qv {

// The scheme (HTTP_SCHEME_*) when the text begins, after white space, with a known one and ":";
// else 0.
DWORD CheckUrl(std::string_view text);

// Takes scheme://[user[:password]@]host[:port][/path][?query], or host[/path] as http. There are no
// fragments, nothing is decoded, and the query must be behind a path to be told from the host. A
// port that is empty or out of range leaves the default. Options: HTTP_URLOPT_NORMALIZE,
// HTTP_URLOPT_KEEPQUERY (normalizing a path with the query in it changes the query, too).
std::optional<Url> ParseUrl(std::string_view text, DWORD options);

}  // namespace qv

#endif  // QV_URL_URL_PARSER_H_
