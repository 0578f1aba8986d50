// The records in which the exported functions hand over the parts of a URL: one block of local
// memory with the header and, behind it, its strings.
#ifndef QV_URL_URL_RECORD_H_
#define QV_URL_URL_RECORD_H_

#include "url/url.h"

namespace qv {

// Give a record to the caller, who frees it with FreeUrlRecord; NULL without memory. `text_length`
// is the length of the parsed text in characters of the form.
HTTPURLCOMPONENTSA* NewUrlRecordA(const Url& url, std::size_t text_length);
HTTPURLCOMPONENTSW* NewUrlRecordW(const Url& url, std::size_t text_length);

// Frees a record of either form; false for NULL.
bool FreeUrlRecord(void* record);

// The parts in a caller's record; NULL strings are absent.
Url UrlOfRecord(const HTTPURLCOMPONENTSA& record);
Url UrlOfRecord(const HTTPURLCOMPONENTSW& record);

}  // namespace qv

#endif  // QV_URL_URL_RECORD_H_
