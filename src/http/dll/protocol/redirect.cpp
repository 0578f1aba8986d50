#include "protocol/redirect.h"

#include <optional>
#include <string_view>
#include <utility>

#include "events/notification_window.h"
#include "frame/library.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/command.h"
#include "protocol/connector.h"
#include "transport/host_name.h"
#include "transport/resolver.h"
#include "url/path_normalizer.h"
#include "url/url_parser.h"

namespace qv {
namespace {

// Resolves a location without scheme against the current resource (RFC 3986 section 5.2): a
// reference to another host gets the session's scheme, a relative path the current folder.
std::string ResolveReference(const Session& session, std::string location) {
  if (const std::size_t fragment = location.find('#'); fragment != location.npos) {
    location.resize(fragment);
  }
  if (location.starts_with("//")) {
    return (session.Has(HTTP_OPTION_SECURE) ? "https:" : "http:") + location;
  }
  const bool absolute = location.find("://") < location.find_first_of("/?");
  if (location.starts_with('/') || absolute || location.empty()) {
    return location;
  }
  std::string path = session.request.path;
  if (!path.starts_with('/')) path.insert(0, "/");
  if (!location.starts_with('?')) path.resize(path.rfind('/') + 1);
  const std::size_t query = location.find('?');
  path += location.substr(0, query);
  NormalizePath(path);
  return query == location.npos ? path : path + location.substr(query);
}

Error LeadToUrl(Session& session, const Url& url) {
  Connection& connection = session.connection;
  std::optional<std::string> host;
  if (!EqualsNoCase(url.host, connection.host) && connection.proxy_type == kProxyNone) {
    host = NormalizeHost(url.host.c_str());
    if (!host) return QV_ERROR_INVALID_HOSTNAME;
    const int family = session.Has(HTTP_OPTION_PREFER_IPV6) ? ws2::kFamilyInet6 : 0;
    Result<InternetAddress> address = ResolveHost(host->c_str(), family);
    if (!address) return QV_ERROR_INVALID_HOSTNAME;
    connection.remote = *address;
  }
  const LibraryLock lock;  // tasks copy where the session leads
  if (host) connection.host = *host;
  connection.port = url.port;
  if (url.scheme == HTTP_SCHEME_HTTPS) {
    session.settings.options |= HTTP_OPTION_SECURE;
  } else {
    session.settings.options &= ~HTTP_OPTION_SECURE;
  }
  return kNoError;
}

// Works out the new resource and where the session leads from now on.
Result<std::string> TakeLocation(Session& session, const std::string& location) {
  if (location.starts_with('/')) return location;
  const std::optional<Url> url = ParseUrl(location, HTTP_URLOPT_NORMALIZE);
  if (!url) return Error(QV_ERROR_INVALID_RESOURCE);
  if (Error error = LeadToUrl(session, *url)) return error;
  return url->query ? url->resource + "?" + *url->query : url->resource;
}

}  // namespace

Error FollowRedirect(Session& session, std::string location) {
  location = ResolveReference(session, std::move(location));
  if (location.empty()) return QV_ERROR_INVALID_RESOURCE;
  if (session.operation.blocking) return QV_ERROR_OPERATION_IN_PROGRESS;
  const std::string method = session.request.method_name;
  if (method.empty()) return QV_ERROR_INVALID_COMMAND;
  const NotificationPause pause(session);
  session.connection.CloseSocket();
  session.connection.peer_closed = true;
  Result<std::string> resource = TakeLocation(session, location);
  if (!resource) return resource.error();
  if (Error error = ReconnectSession(session, {ReadyFor::kWrite, 0})) return error;
  session.request.headers.Remove("Host");
  session.transfer.Reset();
  // An asynchronous command has left it open, unless the application has closed it already.
  const bool open = std::exchange(session.request.open, false);
  const std::string parameters = std::move(session.request.parameters);
  const Result<INT> result =
      ResendCommand(session, {method, *resource, parameters, 0, session.request.complete});
  session.request.open = open;
  return result.error();
}

}  // namespace qv
