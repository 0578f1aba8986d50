#ifndef TOOLS_QVHTTP_REDIRECT_H_
#define TOOLS_QVHTTP_REDIRECT_H_

#include <optional>
#include <string>

#include "request.h"

// The request that a redirect asks for (RFC 9110 section 15.4). `first_url` is the URL of the
// command line, whose origin alone gets its credentials and cookies. Nothing when the location
// cannot be requested.
std::optional<Request> RedirectedRequest(const Request& request, int status,
                                         const std::string& location, const std::string& first_url);

#endif  // TOOLS_QVHTTP_REDIRECT_H_
