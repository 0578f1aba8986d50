// Putting URLs together.
#ifndef QV_URL_URL_COMPOSER_H_
#define QV_URL_URL_COMPOSER_H_

#include <optional>
#include <string>

#include "url/url_parser.h"

namespace qv {

// The contract of HttpCreateUrl; empty texts count as absent.
std::optional<std::string> CreateUrl(const Url& url, DWORD options, INT capacity);

}  // namespace qv

#endif  // QV_URL_URL_COMPOSER_H_
