#include "url/url_parser.h"

#include <algorithm>
#include <iterator>

#include "frame/text.h"
#include "url/path_normalizer.h"

namespace qv {
namespace {

constexpr Scheme kSchemes[] = {
    {"http", HTTP_SCHEME_HTTP, HTTP_PORT_DEFAULT},
    {"https", HTTP_SCHEME_HTTPS, HTTP_PORT_SECURE},
    {"feed", HTTP_SCHEME_HTTP, HTTP_PORT_DEFAULT},
};
constexpr uint64_t kLargestPort = 65535;
constexpr std::string_view kFeedPrefix = "feed:";

// Takes the path, from the first "/" on, off an authority.
std::optional<std::string_view> SplitPath(std::string_view& authority) {
  const std::size_t slash = authority.find('/');
  if (slash == authority.npos) return std::nullopt;
  const std::string_view path = authority.substr(slash);
  authority = authority.substr(0, slash);
  return path;
}

void TakeUser(std::string_view text, Url& url) {
  const std::size_t colon = text.find(':');
  url.user = std::string(text.substr(0, colon));
  if (colon != text.npos) url.password = std::string(text.substr(colon + 1));
}

// A number out of range, or none, leaves the default; anything but digits is an error.
bool TakePort(std::string_view text, Url& url) {
  if (!std::all_of(text.begin(), text.end(), IsDigit)) return false;
  const std::optional<uint64_t> port = ParseLeadingDecimal(text);
  if (port && *port >= 1 && *port <= kLargestPort) url.port = static_cast<DWORD>(*port);
  return true;
}

bool TakeHost(std::string_view text, Url& url) {
  if (text.starts_with('[')) {
    const std::size_t end = text.find(']');
    if (end == text.npos) return false;
    url.host = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    const std::size_t colon = text.find(':');
    return colon == text.npos || TakePort(text.substr(colon + 1), url);
  }
  const std::size_t colon = text.find(':');
  url.host = text.substr(0, colon);
  return colon == text.npos || TakePort(text.substr(colon + 1), url);
}

bool TakeAuthority(std::string_view authority, Url& url) {
  if (const std::size_t at = authority.find('@'); at != authority.npos) {
    TakeUser(authority.substr(0, at), url);
    authority.remove_prefix(at + 1);
  }
  return TakeHost(authority, url);
}

void TakeResource(std::optional<std::string_view> path, DWORD options, Url& url) {
  url.resource = path.value_or("/");
  if ((options & HTTP_URLOPT_KEEPQUERY) == 0) {
    if (const std::size_t mark = url.resource.find('?'); mark != std::string::npos) {
      url.query = url.resource.substr(mark + 1);
      url.resource.resize(mark);
    }
  }
  if ((options & HTTP_URLOPT_NORMALIZE) != 0) NormalizePath(url.resource);
}

}  // namespace

const Scheme* FindScheme(std::string_view name) {
  const auto* found =
      std::find_if(std::begin(kSchemes), std::end(kSchemes),
                   [&](const Scheme& scheme) { return EqualsNoCase(scheme.name, name); });
  return found != std::end(kSchemes) ? found : nullptr;
}

const Scheme* FindScheme(DWORD id) {
  const auto* found = std::find_if(std::begin(kSchemes), std::end(kSchemes),
                                   [&](const Scheme& scheme) { return scheme.id == id; });
  return found != std::end(kSchemes) ? found : nullptr;
}

DWORD CheckUrl(std::string_view text) {
  text = TrimLeft(text);
  const std::size_t colon = text.find(':');
  if (colon == text.npos) return 0;
  const Scheme* scheme = FindScheme(text.substr(0, colon));
  return scheme != nullptr ? scheme->id : 0;
}

std::optional<Url> ParseUrl(std::string_view text, DWORD options) {
  text = TrimLeft(text);
  if (text.empty()) return std::nullopt;
  if (StartsWithNoCase(text, "feed:http")) text.remove_prefix(kFeedPrefix.size());
  Url url;
  std::optional<std::string_view> path;
  const std::size_t colon = text.find(':');
  if (colon == text.npos) {
    url.scheme = HTTP_SCHEME_HTTP;
    url.port = HTTP_PORT_DEFAULT;
    path = SplitPath(text);
    url.host = text;
  } else {
    constexpr std::string_view kAuthorityMark = "://";
    const Scheme* scheme = FindScheme(text.substr(0, colon));
    if (scheme == nullptr || !text.substr(colon).starts_with(kAuthorityMark)) return std::nullopt;
    url.scheme = scheme->id;
    url.port = scheme->default_port;
    text.remove_prefix(colon + kAuthorityMark.size());
    path = SplitPath(text);
    if (!TakeAuthority(text, url)) return std::nullopt;
  }
  TakeResource(path, options, url);
  return url;
}

}  // namespace qv
