#ifndef TOOLS_QVHTTP_CONTENT_CODING_H_
#define TOOLS_QVHTTP_CONTENT_CODING_H_

#include "fields.h"

// Whether a body is other bytes than those of its media type (RFC 9110 section 8.4.1).
bool HasContentCoding(const HeaderList& headers);

// Whether the library decodes the body.
bool HasKnownContentCoding(const HeaderList& headers);

#endif  // TOOLS_QVHTTP_CONTENT_CODING_H_
