#include "url/url_composer.h"

#include <algorithm>

#include "frame/text.h"
#include "platform/ws2_32.h"
#include "transport/address.h"
#include "url/encoder.h"
#include "url/path_normalizer.h"

namespace qv {
namespace {

constexpr INT kMostCharacters = 5119;

bool IsIpv6Literal(const std::string& host) {
  BYTE address[16];
  return AddressFromText(ws2::kFamilyInet6, host.c_str(), address) == 1;
}

// Everything before the path; nothing for an unknown scheme or without a host.
std::optional<std::string> Prefix(const Url& url) {
  if (url.scheme == 0) return std::string();
  const Scheme* scheme = FindScheme(url.scheme);
  if (scheme == nullptr || url.host.empty()) return std::nullopt;
  std::string prefix(scheme->name);
  prefix += "://";
  if (url.user && !url.user->empty()) {
    prefix += *url.user;
    if (url.password && !url.password->empty()) prefix += ":" + *url.password;
    prefix += "@";
  }
  prefix += IsIpv6Literal(url.host) ? "[" + url.host + "]" : url.host;
  if (url.port != 0 && url.port != scheme->default_port) prefix += ":" + std::to_string(url.port);
  return prefix;
}

std::string Path(const Url& url, DWORD options) {
  std::string path = url.resource;
  if (!path.starts_with('/')) path.insert(0, "/");
  if ((options & HTTP_URLOPT_NORMALIZE) != 0) NormalizePath(path);
  return path;
}

// The query with its "?"; nothing when it cannot be encoded in twice its room.
std::optional<std::string> Query(const Url& url, DWORD options) {
  if (!url.query || url.query->empty()) return std::string();
  if ((options & HTTP_URLOPT_ENCODEQUERY) == 0) return "?" + *url.query;
  std::string encoded(2 * (url.query->size() + 1), '\0');
  const Result<INT> length =
      Encode(EncodeMode::kData, *url.query, encoded.data(), static_cast<INT>(encoded.size()));
  if (!length) return std::nullopt;
  encoded.resize(static_cast<std::size_t>(*length));
  return "?" + encoded;
}

}  // namespace

std::optional<std::string> CreateUrl(const Url& url, DWORD options, INT capacity) {
  if (capacity <= 0) return std::nullopt;
  const auto limit = static_cast<std::size_t>(std::min(capacity, kMostCharacters));
  std::optional<std::string> text = Prefix(url);
  if (!text) return std::nullopt;
  *text += Path(url, options);
  const std::optional<std::string> query = Query(url, options);
  if (!query) return std::nullopt;
  *text += *query;
  if (text->size() >= limit) return std::nullopt;
  return text;
}

}  // namespace qv
