#include "url/validation.h"

#include <optional>

#include "frame/text.h"
#include "transport/resolver.h"
#include "url/url_parser.h"

namespace qv {
namespace {

constexpr std::size_t kLongestHostName = 1024;

Result<InternetAddress> Resolve(const std::string& host) {
  return ResolveHost(host.c_str(), ws2::kFamilyUnspecified);
}

}  // namespace

Error ValidateUrl(std::string_view text) {
  text = TrimLeft(text);
  if (!StartsWithNoCase(text, "http://") && !StartsWithNoCase(text, "https://")) {
    return QV_ERROR_INVALID_RESOURCE;
  }
  const std::optional<Url> url = ParseUrl(text, HTTP_URLOPT_NORMALIZE);
  if (!url) return QV_ERROR_INVALID_RESOURCE;
  return Resolve(url->host).error();
}

Result<InternetAddress> ValidateHostName(std::string_view name) {
  if (name.empty() || name.size() > kLongestHostName) return Error(QV_ERROR_INVALID_HOSTNAME);
  if (CheckUrl(name) == 0) return Resolve(std::string(name));
  const std::optional<Url> url = ParseUrl(name, HTTP_URLOPT_NORMALIZE);
  if (!url) return Error(QV_ERROR_INVALID_HOSTNAME);
  return Resolve(url->host);
}

}  // namespace qv
