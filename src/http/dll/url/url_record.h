// The public record of a URL's parts.
#ifndef QV_URL_URL_RECORD_H_
#define QV_URL_URL_RECORD_H_

#include <string_view>

#include "url/url_parser.h"

namespace qv {

// One block of local memory with the record and its texts; NULL when there is no memory.
// `text_length` is the length of the URL that it was parsed from.
LPHTTPURLCOMPONENTSA MakeUrlRecord(const Url& url, std::size_t text_length);
LPHTTPURLCOMPONENTSW MakeWideUrlRecord(const Url& url, std::size_t text_length);

// The parts that a record names; empty texts count as absent.
Url UrlOfRecord(const HTTPURLCOMPONENTSA& record);

}  // namespace qv

#endif  // QV_URL_URL_RECORD_H_
