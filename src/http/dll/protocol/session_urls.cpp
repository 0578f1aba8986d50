#include "protocol/session_urls.h"

#include <algorithm>

#include "frame/session.h"
#include "url/url_composer.h"

namespace qv {
namespace {

Url UrlOf(const Session& session, std::string resource) {
  Url url;
  url.scheme = session.Has(HTTP_OPTION_SECURE) ? HTTP_SCHEME_HTTPS : HTTP_SCHEME_HTTP;
  url.port = session.connection.port;
  url.host = session.connection.host.str();
  url.resource = std::move(resource);
  return url;
}

}  // namespace

std::optional<std::string> ResourceUrlOf(const Session& session, INT capacity) {
  Url url = UrlOf(session, session.request.path);
  if (!session.request.query.empty()) url.query = session.request.query;
  return CreateUrl(url, HTTP_URLOPT_ENCODEQUERY | HTTP_URLOPT_NORMALIZE,
                   std::min(capacity, kUrlCapacity));
}

std::optional<std::string> RedirectUrlOf(const Session& session) {
  const ResponseState& response = session.response;
  if (!response.redirected) return "";
  if (!response.location.starts_with('/')) return response.location;
  return CreateUrl(UrlOf(session, response.location), HTTP_URLOPT_NORMALIZE, kUrlCapacity);
}

}  // namespace qv
