#ifndef TOOLS_QVHTTP_HEADER_ENUMERATION_H_
#define TOOLS_QVHTTP_HEADER_ENUMERATION_H_

#include "fields.h"
#include "qvhttp12.h"

// All fields of a session's last request or response (HTTP_HEADERS_*), in order. Throws Failure.
HeaderList EnumerateHeaders(HCLIENT client, DWORD header_type);

#endif  // TOOLS_QVHTTP_HEADER_ENUMERATION_H_
