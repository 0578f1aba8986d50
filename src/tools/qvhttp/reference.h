#ifndef TOOLS_QVHTTP_REFERENCE_H_
#define TOOLS_QVHTTP_REFERENCE_H_

#include <string>

#include "qvhttp12.h"

// The URL that a reference, such as the Location of a response, means as seen from another URL (RFC
// 3986 section 5.2), without a fragment. It may be of any scheme.
std::string ResolveReference(const HTTPURLCOMPONENTSA& base, const std::string& reference);

#endif  // TOOLS_QVHTTP_REFERENCE_H_
