// Dates as HTTP servers send them (RFC 1123, RFC 850 and similar).
#ifndef QV_URL_HTTP_DATE_H_
#define QV_URL_HTTP_DATE_H_

#include "frame/error.h"

namespace qv {

struct HttpDate {
  DWORD seconds = 0;  // since 1970-01-01 00:00:00 UTC
  LONG zone = 0;      // the correction that was applied, in seconds; localized: the local bias
};

// QV_ERROR_INVALID_DATE_FORMAT, also for a date whose seconds do not fit 32 bits.
Result<HttpDate> ParseHttpDate(const char* text, bool localize);

// The UTC calendar fields of a time.
void SecondsToCalendar(DWORD seconds, SYSTEMTIME* calendar);

}  // namespace qv

#endif  // QV_URL_HTTP_DATE_H_
