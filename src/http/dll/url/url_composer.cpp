#include "url/url_composer.h"

#include <algorithm>
#include <vector>

#include "transport/address.h"
#include "url/encoder.h"
#include "url/path_normalizer.h"
#include "url/scheme_table.h"

namespace qv {
namespace {

bool IsPresent(const std::optional<std::string>& part) { return part && !part->empty(); }

bool IsIpv6Literal(const std::string& host) {
  BYTE bytes[kIpv6AddressBytes];
  const int answer = AddressFromText(ws2::kFamilyInet6, host.c_str(), bytes);
  // Before the library is initialized nobody can tell; no name has a colon.
  return answer == 1 || (answer < 0 && host.find(':') != host.npos);
}

// Everything before the path; nothing when the scheme is unknown or there is no host.
std::optional<std::string> PrefixOf(const Url& url) {
  if (url.scheme == 0) return "";
  const Scheme* scheme = FindScheme(url.scheme);
  if (scheme == nullptr || url.host.empty()) return std::nullopt;
  std::string prefix(scheme->name);
  prefix += "://";
  if (IsPresent(url.user)) {
    prefix += *url.user;
    if (IsPresent(url.password)) prefix += ":" + *url.password;
    prefix += '@';
  }
  prefix += IsIpv6Literal(url.host) ? "[" + url.host + "]" : url.host;
  if (url.port != 0 && url.port != scheme->default_port) prefix += ":" + std::to_string(url.port);
  return prefix;
}

std::string PathOf(const Url& url, DWORD options) {
  std::string path = url.resource;
  if (!path.starts_with('/')) path.insert(0, 1, '/');
  if ((options & HTTP_URLOPT_NORMALIZE) != 0) NormalizePath(path);
  return path;
}

std::optional<std::string> EncodedQuery(const std::string& query) {
  std::vector<char> buffer(2 * (query.size() + 1));
  const Result<INT> length =
      Encode(EncodeMode::kData, query, buffer.data(), static_cast<INT>(buffer.size()));
  if (!length) return std::nullopt;
  return std::string(buffer.data(), static_cast<std::size_t>(*length));
}

}  // namespace

std::optional<std::string> CreateUrl(const Url& url, DWORD options, INT max_length) {
  const auto room = static_cast<std::size_t>(std::clamp(max_length, 0, kLargestUrlRoom));
  std::optional<std::string> text = PrefixOf(url);
  if (!text) return std::nullopt;
  *text += PathOf(url, options);
  if (IsPresent(url.query)) {
    // Encoding never shortens it, so there is no use in encoding what does not fit.
    if (url.query->size() >= room) return std::nullopt;
    const bool encode = (options & HTTP_URLOPT_ENCODEQUERY) != 0;
    const std::optional<std::string> query = encode ? EncodedQuery(*url.query) : url.query;
    if (!query) return std::nullopt;
    *text += "?" + *query;
  }
  if (text->size() >= room) return std::nullopt;
  return text;
}

}  // namespace qv
