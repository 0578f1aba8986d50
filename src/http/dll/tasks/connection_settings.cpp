#include "tasks/connection_settings.h"

#include "frame/library.h"
#include "frame/session.h"
#include "url/url_parser.h"

namespace qv {
namespace {

void TakeProxy(ConnectionSettings& settings, const Connection& connection) {
  settings.proxy_type = connection.proxy_type;
  if (connection.proxy_type == kProxyNone) return;
  settings.proxy_host = connection.proxy_host;
  settings.proxy_port = connection.proxy_port;
  settings.proxy_user = connection.proxy_user;
  settings.proxy_password = connection.proxy_password;
}

void TakeCredentials(ConnectionSettings& settings, const Credentials& credentials) {
  settings.authentication = credentials.type;
  if (credentials.type == HTTP_AUTH_NONE) return;
  settings.user = credentials.user;
  settings.password = credentials.password;
  settings.credential_origin = credentials.origin;
}

}  // namespace

ConnectionSettings SettingsOf(const Session& session) {
  ConnectionSettings settings;
  LibraryLock lock;
  settings.host = session.connection.host;
  settings.port = session.connection.port;
  settings.timeout = static_cast<UINT>(session.settings.timeout);
  settings.options = session.settings.options;
  settings.version = session.settings.version;
  settings.compression = session.settings.compression;
  TakeProxy(settings, session.connection);
  TakeCredentials(settings, session.credentials);
  if (session.Has(HTTP_OPTION_SECURE)) settings.identity = session.tls.identity;
  return settings;
}

Error LeadToResource(ConnectionSettings& settings, const std::string& resource) {
  bool has_path = !resource.empty();
  if (CheckUrl(resource) != 0) {
    const std::optional<Url> url =
        ParseUrl(resource, HTTP_URLOPT_NORMALIZE | HTTP_URLOPT_KEEPQUERY);
    if (!url) return QV_ERROR_INVALID_RESOURCE;
    settings.host = url->host;
    settings.port = url->port;
    if (url->scheme == HTTP_SCHEME_HTTPS) settings.options |= HTTP_OPTION_SECURE;
    has_path = !url->resource.empty();
    const std::string user = url->user.value_or("");
    const std::string password = url->password.value_or("");
    if (!user.empty() || !password.empty()) {
      settings.authentication = HTTP_AUTH_BASIC;
      settings.user = user;
      settings.password = password;
      settings.credential_origin.reset();
    }
  }
  const bool complete = has_path && !settings.host.empty();
  return complete ? kNoError : Error(QV_ERROR_INVALID_RESOURCE);
}

}  // namespace qv
