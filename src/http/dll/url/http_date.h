// Dates as servers write them, and their conversion to a calendar record.
#ifndef QV_URL_HTTP_DATE_H_
#define QV_URL_HTTP_DATE_H_

#include "frame/error.h"

namespace qv {

struct HttpDate {
  DWORD seconds;  // since 1970-01-01 00:00:00 UTC
  LONG zone;      // seconds added for the date's zone; localized: the bias of the local time zone
};

// Reads the layouts of RFC 9110 section 5.6.7 (but asctime) and their relatives: month names or
// numbers, two- or four-digit years, 12-hour clocks, numeric zones. The localized form tells what
// the local time zone's bias (seconds west of UTC) is at that date. QV_ERROR_INVALID_DATE_FORMAT
// for anything else and for dates that do not fit.
Result<HttpDate> ParseHttpDate(const char* text, bool localize);

// The UTC calendar fields.
void SecondsToCalendar(DWORD seconds, SYSTEMTIME* calendar);

}  // namespace qv

#endif  // QV_URL_HTTP_DATE_H_
