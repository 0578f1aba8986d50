#include "reference.h"

#include <algorithm>
#include <string_view>

#include "fields.h"
#include "url_parts.h"

namespace {

constexpr std::string_view kAuthorityMark = "//";

bool HasScheme(std::string_view reference) {
  const auto colon = reference.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  return reference.find_first_of("/?") > colon;
}

// RFC 3986 section 5.2.4, for a path that begins with "/".
std::string RemoveDotSegments(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    const auto end = path.find('/', 1);
    const std::string_view segment = path.substr(0, end);  // with the "/" in front of it
    const bool last = end == std::string_view::npos;
    path.remove_prefix(segment.size());
    if (segment == "/..") result.resize(std::min(result.rfind('/'), result.size()));
    if (segment != "/." && segment != "/..") {
      result.append(segment);
    } else if (last) {
      result.push_back('/');
    }
  }
  return result;
}

}  // namespace

std::string ResolveReference(const HTTPURLCOMPONENTSA& base, const std::string& reference) {
  std::string_view rest = TrimBlanks(reference);
  rest = rest.substr(0, rest.find('#'));
  if (HasScheme(rest)) return std::string(rest);
  const std::string origin = OriginOf(base);
  if (rest.substr(0, kAuthorityMark.size()) == kAuthorityMark) {
    return origin.substr(0, origin.find(kAuthorityMark)).append(rest);
  }
  if (rest.empty()) return UrlWithoutUser(base);
  const std::string_view path = rest.substr(0, rest.find('?'));
  const std::string_view query = rest.substr(path.size());  // with its "?"
  std::string resolved = base.lpszResource;
  if (!path.empty()) {
    const std::size_t folder = path.front() == '/' ? 0 : resolved.rfind('/') + 1;
    resolved = RemoveDotSegments(resolved.substr(0, folder).append(path));
  }
  return (origin + resolved).append(query);
}
