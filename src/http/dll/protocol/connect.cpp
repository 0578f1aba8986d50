#include "protocol/connect.h"

#include <limits>
#include <optional>
#include <string>

#include "events/notification_window.h"
#include "frame/library.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/connector.h"
#include "tls/secure_session.h"
#include "tls/security_binding.h"
#include "transport/host_name.h"
#include "transport/resolver.h"
#include "transport/socket_binding.h"
#include "transport/trace.h"
#include "url/url_parser.h"

namespace qv {
namespace {

constexpr UINT kLargestPort = 65535;

bool IsKnownVersion(DWORD version) {
  switch (version) {
    case HTTP_VERSION_09:
    case HTTP_VERSION_10:
    case HTTP_VERSION_11:
    case HTTP_VERSION_20:
    case HTTP_VERSION_30:
      return true;
    default:
      return false;
  }
}

// Where a session is to lead, worked out from the arguments of a connect.
struct Destination {
  std::string host;  // normalized
  UINT port = 0;
  DWORD options = 0;
  DWORD version = 0;
  INT timeout = HTTP_TIMEOUT;
};

// The host of a host argument, which may be a URL; a URL's scheme and port count, too.
std::optional<std::string> TakeHost(const ConnectArguments& arguments, Destination& destination) {
  if (CheckUrl(arguments.host) == 0) return NormalizeHost(arguments.host);
  const std::optional<Url> url = ParseUrl(arguments.host, HTTP_URLOPT_NORMALIZE);
  if (!url) return std::nullopt;
  if (url->scheme == HTTP_SCHEME_HTTPS) destination.options |= HTTP_OPTION_SECURE;
  if (destination.port == 0 || destination.port == HTTP_PORT_DEFAULT) destination.port = url->port;
  return NormalizeHost(url->host.c_str());
}

void ApplyVersionOptions(Destination& destination) {
  if ((destination.options & HTTP_OPTION_HTTP2) != 0) {
    destination.version = HTTP_VERSION_20;
    destination.options |= HTTP_OPTION_SECURE;
  }
  if ((destination.options & HTTP_OPTION_HTTP3) != 0) {
    destination.version = HTTP_VERSION_30;
    destination.options |= HTTP_OPTION_SECURE;
  }
}

void ApplyDefaultPort(Destination& destination) {
  const bool secure = (destination.options & HTTP_OPTION_SECURE) != 0;
  const bool tunnel = (destination.options & HTTP_OPTION_TUNNEL) != 0;
  if (destination.port == 0) destination.port = secure ? HTTP_PORT_SECURE : HTTP_PORT_DEFAULT;
  if (destination.port == HTTP_PORT_DEFAULT && secure && !tunnel) {
    destination.port = HTTP_PORT_SECURE;
  }
}

void ApplySecurePort(Destination& destination) {
  const bool tunnel = (destination.options & HTTP_OPTION_TUNNEL) != 0;
  if (destination.port == HTTP_PORT_SECURE && !tunnel) destination.options |= HTTP_OPTION_SECURE;
}

Result<Destination> MakeDestination(const ConnectArguments& arguments) {
  if (TextOf(arguments.host).empty()) return Error(QV_ERROR_INVALID_HOSTNAME);
  Destination destination;
  constexpr UINT kLongestTimeout = static_cast<UINT>(std::numeric_limits<INT>::max() / 1000);
  destination.port = arguments.port;
  destination.options = arguments.options;
  if (arguments.timeout != 0) {
    destination.timeout = static_cast<INT>(std::min(arguments.timeout, kLongestTimeout));
  }
  if (!Ipv6Available()) destination.options &= ~HTTP_OPTION_PREFER_IPV6;
  destination.version = arguments.version != 0 ? arguments.version : HTTP_VERSION_11;
  if (!IsKnownVersion(destination.version)) return Error(QV_ERROR_INVALID_PROTOCOL_VERSION);
  std::optional<std::string> host = TakeHost(arguments, destination);
  if (!host) return Error(QV_ERROR_INVALID_HOSTNAME);
  destination.host = *std::move(host);
  if (destination.port > kLargestPort) return Error(QV_ERROR_INVALID_SERVICE_PORT);
  ApplyVersionOptions(destination);
  ApplyDefaultPort(destination);
  return destination;
}

// A server that cannot be spoken to in the wanted version is spoken to in HTTP/1.1.
void FallBackToHttp1(Destination& destination) {
  if (destination.version < HTTP_VERSION_20) return;
  destination.options &= ~(HTTP_OPTION_HTTP2 | HTTP_OPTION_HTTP3);
  destination.version = HTTP_VERSION_11;
  QV_TRACE(kWarning, "h2 connection fallback initiated");
}

// What this build has no connection for.
Error CheckSupported(const Destination& destination) {
  const bool proxy = (destination.options & HTTP_OPTION_PROXY) != 0;
  return proxy ? Error(QV_ERROR_FEATURE_NOT_SUPPORTED) : kNoError;
}

bool IsSecure(const Destination& destination) {
  return (destination.options & HTTP_OPTION_SECURE) != 0;
}

Error OpenConnection(Session& session, const Destination& destination, const ConnectManner& manner,
                     SECURITYCREDENTIALSA* credentials) {
  session.settings.options = destination.options;
  session.settings.version = destination.version;
  session.settings.timeout = destination.timeout;
  Connection& connection = session.connection;
  connection.port = destination.port;
  connection.host = destination.host;
  SetIdentity(session, credentials);
  if (IsSecure(destination)) {
    if (credentials != nullptr) credentials->dwProtocol = session.tls.identity.protocols;
    if (Error error = PrepareSecurity(session)) return error;
  }
  const bool prefer_ipv6 = session.Has(HTTP_OPTION_PREFER_IPV6);
  Result<InternetAddress> address = ResolveHost(
      destination.host.c_str(), prefer_ipv6 ? ws2::kFamilyInet6 : ws2::kFamilyUnspecified);
  if (!address) return QV_ERROR_INVALID_HOSTNAME;
  if (address->family != ws2::kFamilyInet6) session.settings.options &= ~HTTP_OPTION_PREFER_IPV6;
  connection.remote = *address;
  return ConnectSocketOf(session, manner);
}

}  // namespace

Result<HCLIENT> ConnectSession(ConnectArguments arguments, const SessionObserver& created) {
  Result<Destination> destination = MakeDestination(arguments);
  if (!destination) return destination.error();
  FallBackToHttp1(*destination);
  if (Error error = CheckSupported(*destination)) return error;
  ApplySecurePort(*destination);
  if (IsSecure(*destination)) {
    if (Error error = BindSecurity()) return error;
  }
  ConnectManner manner;
  if (arguments.window != nullptr) {
    if (Error error = CheckEventWindow(arguments.window, arguments.message)) return error;
    manner.window = arguments.window;
    manner.message = arguments.message;
  }
  Result<SessionRef> session = SessionTable::Get().Create();
  if (!session) return session.error();
  if (created) created(*session);
  if (Error error = OpenConnection(**session, *destination, manner, arguments.credentials)) {
    SessionTable::Get().Release((*session)->handle);
    return error;
  }
  return (*session)->handle;
}

Result<HCLIENT> ConnectUrl(LPCSTR url, UINT timeout, DWORD options) {
  if (Error error = library::CheckInitialized()) return error;
  std::string text(TrimLeft(TextOf(url)));
  if (text.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (CheckUrl(text) == 0) {
    text.insert(0, (options & HTTP_OPTION_SECURE) != 0 ? "https://" : "http://");
  }
  const std::optional<Url> parts = ParseUrl(text, HTTP_URLOPT_NORMALIZE);
  if (!parts) return Error(QV_ERROR_INVALID_RESOURCE);
  options &= ~HTTP_OPTION_SECURE;
  if (parts->scheme == HTTP_SCHEME_HTTPS) options |= HTTP_OPTION_SECURE;
  if ((options & (HTTP_OPTION_HTTP2 | HTTP_OPTION_HTTP3)) != 0) options |= HTTP_OPTION_SECURE;
  ConnectArguments arguments;
  arguments.host = parts->host.c_str();
  arguments.port = parts->port;
  arguments.timeout = timeout;
  arguments.options = options;
  Result<HCLIENT> handle = ConnectSession(arguments);
  if (!handle) return handle;
  Result<SessionRef> session = SessionTable::Get().Validate(*handle);
  if (!session) return session.error();
  if (Error error = RequireGoodCertificate(**session)) {
    SessionTable::Get().Release(*handle);
    return error;
  }
  if (Error error = Authenticate(**session, HTTP_AUTH_BASIC, parts->user.value_or(""),
                                 parts->password.value_or(""))) {
    SessionTable::Get().Release(*handle);
    return error;
  }
  return handle;
}

}  // namespace qv
