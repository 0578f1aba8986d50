#include "url_parts.h"

#include <algorithm>
#include <string_view>

#include "failure.h"

namespace {

constexpr std::string_view kAuthorityMark = "://";

// A query directly behind the host gets the path "/".
std::string WithoutFragment(const std::string& url) {
  std::string wanted = url.substr(0, url.find('#'));
  const auto mark = wanted.find(kAuthorityMark);
  const auto authority = mark == std::string::npos ? 0 : mark + kAuthorityMark.size();
  const auto end = wanted.find_first_of("/?", authority);
  if (end != std::string::npos && wanted[end] == '?') wanted.insert(end, 1, '/');
  return wanted;
}

}  // namespace

UrlParts ParseUrl(const std::string& url, DWORD options) {
  LPHTTPURLCOMPONENTSA parts = nullptr;
  const bool parsed = HttpParseUrlA(url.c_str(), options, &parts) != FALSE;
  UrlParts owned(parts);
  if (!parsed || *parts->lpszHostName == '\0') {
    throw Failure(ExitCode::kUsage, url + ": not a URL; write http://host[:port]/path");
  }
  return owned;
}

UrlParts ParseRequestUrl(const std::string& url) { return ParseUrl(WithoutFragment(url), 0); }

std::string RequestUrl(const std::string& url) {
  const std::string wanted = WithoutFragment(url);
  const bool has_scheme = wanted.find(kAuthorityMark) < wanted.find_first_of("/?");
  return has_scheme ? wanted : "http://" + wanted;
}

std::string RequestTarget(const HTTPURLCOMPONENTSA& parts) {
  std::string target = parts.lpszResource;
  if (parts.lpszQuery != nullptr) target.append("?").append(parts.lpszQuery);
  return target;
}

std::string HostAndPort(const HTTPURLCOMPONENTSA& parts) {
  const std::string host = parts.lpszHostName;
  const bool is_ipv6 = host.find(':') != std::string::npos;
  return (is_ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(parts.nPort);
}

std::string OriginOf(const HTTPURLCOMPONENTSA& parts) {
  std::string host = HostAndPort(parts);
  std::transform(host.begin(), host.end(), host.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return (parts.nScheme == HTTP_SCHEME_HTTPS ? "https://" : "http://") + host;
}

std::string UrlWithoutUser(const HTTPURLCOMPONENTSA& parts) {
  return OriginOf(parts) + RequestTarget(parts);
}
