#include "url/url_parser.h"

#include <algorithm>
#include <cstdint>

#include "frame/text.h"
#include "url/path_normalizer.h"
#include "url/scheme_table.h"

namespace qv {
namespace {

constexpr std::string_view kFeedPrefix = "feed:";
constexpr std::string_view kPrefixedFeed = "feed:http";
constexpr std::string_view kAuthorityMark = "//";
constexpr uint64_t kLastPort = 65535;

// Takes the text before `separator` off, and the separator; nothing when there is none.
std::optional<std::string_view> TakeBefore(std::string_view& text, char separator) {
  const std::size_t at = text.find(separator);
  if (at == text.npos) return std::nullopt;
  const std::string_view head = text.substr(0, at);
  text.remove_prefix(at + 1);
  return head;
}

// Takes what begins with the first "/" off the end; nothing when there is no "/".
std::string_view TakePath(std::string_view& text) {
  const std::size_t slash = std::min(text.find('/'), text.size());
  const std::string_view path = text.substr(slash);
  text.remove_suffix(path.size());
  return path;
}

void ParseUserInformation(std::string_view text, Url& url) {
  const std::optional<std::string_view> user = TakeBefore(text, ':');
  url.user = user.value_or(text);
  if (user) url.password = text;
}

bool ParsePort(std::string_view text, Url& url) {
  if (!std::all_of(text.begin(), text.end(), IsDigit)) return false;
  const uint64_t port = ParseLeadingDecimal(text).value_or(0);
  if (port >= 1 && port <= kLastPort) url.port = static_cast<DWORD>(port);
  return true;
}

bool ParseAuthority(std::string_view text, Url& url) {
  if (const auto user_information = TakeBefore(text, '@')) {
    ParseUserInformation(*user_information, url);
  }
  const bool bracketed = text.starts_with('[');
  if (bracketed) {
    text.remove_prefix(1);
    const auto address = TakeBefore(text, ']');
    if (!address) return false;
    url.host = *address;
  }
  const auto host = TakeBefore(text, ':');
  if (!bracketed) url.host = host.value_or(text);
  return !host || ParsePort(text, url);
}

void ParsePath(std::string_view path, DWORD options, Url& url) {
  if (path.empty()) path = "/";
  if ((options & HTTP_URLOPT_KEEPQUERY) == 0) {
    std::string_view rest = path;
    if (const auto before_query = TakeBefore(rest, '?')) {
      path = *before_query;
      url.query = rest;
    }
  }
  url.resource = path;
  if ((options & HTTP_URLOPT_NORMALIZE) != 0) NormalizePath(url.resource);
}

}  // namespace

DWORD CheckUrl(std::string_view text) {
  text = TrimLeft(text);
  const auto name = TakeBefore(text, ':');
  const Scheme* scheme = name ? FindScheme(*name) : nullptr;
  return scheme != nullptr ? scheme->id : 0;
}

std::optional<Url> ParseUrl(std::string_view text, DWORD options) {
  text = TrimLeft(text);
  // No part of a URL could hold a terminator.
  if (text.empty() || text.find('\0') != text.npos) return std::nullopt;
  if (StartsWithNoCase(text, kPrefixedFeed)) text.remove_prefix(kFeedPrefix.size());

  Url url;
  const auto scheme_name = TakeBefore(text, ':');
  const Scheme* scheme = scheme_name ? FindScheme(*scheme_name) : FindScheme(HTTP_SCHEME_HTTP);
  if (scheme == nullptr) return std::nullopt;
  url.scheme = scheme->id;
  url.port = scheme->default_port;
  if (!scheme_name) {
    const std::string_view path = TakePath(text);
    url.host = text;
    ParsePath(path, options, url);
    return url;
  }
  if (!text.starts_with(kAuthorityMark)) return std::nullopt;
  text.remove_prefix(kAuthorityMark.size());
  const std::string_view path = TakePath(text);
  if (!ParseAuthority(text, url)) return std::nullopt;
  ParsePath(path, options, url);
  return url;
}

}  // namespace qv
