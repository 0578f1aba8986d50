#include "protocol/cookie_list.h"

#include <algorithm>

#include "frame/text.h"
#include "protocol/header_list.h"
#include "url/http_date.h"

namespace qv {
namespace {

constexpr std::size_t kLongestName = 1023;
constexpr std::size_t kLongestValue = 4095;

struct Attribute {
  std::string_view name;
  std::string_view value;
  bool has_value = false;
};

// Takes the next "name[=value]" off a list separated by ";".
Attribute TakeAttribute(std::string_view& list) {
  const std::size_t end = list.find(';');
  const std::string_view text = Trim(list.substr(0, end));
  list.remove_prefix(end == list.npos ? list.size() : end + 1);
  const std::size_t equals = text.find('=');
  if (equals == text.npos) return {text, {}, false};
  return {text.substr(0, equals), text.substr(equals + 1), true};
}

void ApplyAttribute(Cookie& cookie, const Attribute& attribute) {
  if (EqualsNoCase(attribute.name, "secure")) {
    cookie.flags |= HTTP_COOKIE_SECURE;
  } else if (EqualsNoCase(attribute.name, "domain")) {
    cookie.domain = attribute.value;
  } else if (EqualsNoCase(attribute.name, "path")) {
    cookie.path = attribute.value;
  } else if (EqualsNoCase(attribute.name, "expires")) {
    const Result<HttpDate> date = ParseHttpDate(std::string(attribute.value).c_str(), false);
    if (!date) return;
    cookie.expires = date->seconds;
    cookie.flags &= ~HTTP_COOKIE_SESSION;
  }
}

Cookie ParseCookie(std::string_view text) {
  Cookie cookie;
  cookie.flags = HTTP_COOKIE_SESSION;
  bool named = false;
  while (!text.empty()) {
    const Attribute attribute = TakeAttribute(text);
    if (attribute.name.empty() && !attribute.has_value) continue;
    if (named) {
      ApplyAttribute(cookie, attribute);
      continue;
    }
    cookie.name = attribute.name;
    cookie.value = attribute.value;
    named = true;
  }
  return cookie;
}

}  // namespace

void CookieList::Build(const HeaderList& response) {
  cookies_.clear();
  built_ = true;
  for (const HeaderEntry& field : response.entries()) {
    if (field.name.size() > kLongestName || field.value.size() > kLongestValue) break;
    if (EqualsNoCase(field.name, "Set-Cookie")) cookies_.push_back(ParseCookie(field.value));
  }
}

const Cookie* CookieList::Find(std::string_view name) const {
  const auto found = std::find_if(cookies_.begin(), cookies_.end(), [&](const Cookie& cookie) {
    return EqualsNoCase(cookie.name, name);
  });
  return found != cookies_.end() ? &*found : nullptr;
}

std::string ChangeCookieHeader(std::string_view header, std::string_view name,
                               std::string_view value) {
  std::string changed;
  auto append = [&](std::string_view pair_name, std::string_view pair_value) {
    if (!changed.empty()) changed += "; ";
    changed.append(pair_name).append("=").append(pair_value);
  };
  bool matched = false;
  while (!header.empty()) {
    const Attribute pair = TakeAttribute(header);
    if (EqualsNoCase(pair.name, name)) {
      matched = true;
      if (!value.empty()) append(name, value);
    } else if (pair.has_value) {
      append(pair.name, pair.value);
    }
  }
  if (!matched) append(name, value);
  return changed;
}

}  // namespace qv
