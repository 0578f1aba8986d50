#ifndef TOOLS_QVHTTP_URL_PARTS_H_
#define TOOLS_QVHTTP_URL_PARTS_H_

#include <memory>
#include <string>

#include "qvhttp12.h"

struct FreeUrlParts {
  void operator()(HTTPURLCOMPONENTSA* parts) const { HttpFreeUrlA(parts); }
};
using UrlParts = std::unique_ptr<HTTPURLCOMPONENTSA, FreeUrlParts>;

// Splits a URL; `options` are HTTP_URLOPT_* bits. Throws Failure when it is none.
UrlParts ParseUrl(const std::string& url, DWORD options);

// The parts of a URL to request: as ParseUrl, after its fragment is cut off and a query directly
// behind the host has got the path "/" (RFC 3986 section 6.2.3).
UrlParts ParseRequestUrl(const std::string& url);

// The same as a text, with user name and password, as the library takes it for a URL.
std::string RequestUrl(const std::string& url);

// Path and query of a URL, as they stand in a request line.
std::string RequestTarget(const HTTPURLCOMPONENTSA& parts);

// "host:port", with the brackets of an IPv6 address.
std::string HostAndPort(const HTTPURLCOMPONENTSA& parts);

// "scheme://host:port": who gets what is sent. Equal for URLs of one origin (RFC 6454 section 4).
std::string OriginOf(const HTTPURLCOMPONENTSA& parts);

// The URL without user name and password.
std::string UrlWithoutUser(const HTTPURLCOMPONENTSA& parts);

#endif  // TOOLS_QVHTTP_URL_PARTS_H_
