#include "protocol/default_headers.h"

#include <algorithm>
#include <string>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/engine.h"
#include "protocol/headers.h"
#include "protocol/request_target.h"
#include "protocol/user_agent.h"

namespace qv {
namespace {

void SetForRequest(Session& session, std::string_view name, std::string_view value) {
  session.request.headers.Set(name, value).lifetime = Lifetime::kThisRequest;
}

// A host name of digits and dots: an IPv4 address, for which HTTP/1.0 sends no Host.
bool IsDottedAddress(std::string_view host) {
  return std::all_of(host.begin(), host.end(), [](char c) { return IsDigit(c) || c == '.'; });
}

Error AddHost(Session& session) {
  const Connection& connection = session.connection;
  if (session.settings.version == HTTP_VERSION_10 && IsDottedAddress(connection.host)) {
    return kNoError;
  }
  if (session.request.headers.Find("Host") != nullptr) return kNoError;
  std::string host = HostForUrl(connection.host);
  if (connection.port != HTTP_PORT_DEFAULT && connection.port != HTTP_PORT_SECURE) {
    host += ":" + std::to_string(connection.port);
  }
  return SetRequestHeader(session, "Host", host);
}

void SetConnection(Session& session) {
  const bool keep = session.Has(HTTP_OPTION_KEEPALIVE);
  session.request.headers.Set("Connection", keep ? "Keep-Alive" : "Close");
  session.request.keep_alive_sent = keep;
}

Error AddRetrievalHeaders(Session& session) {
  session.request.headers.Remove("Content-Length");
  session.request.headers.Remove("Content-Type");
  if (Error error = SetRequestHeaderIfAbsent(session, "Accept", "*/*")) return error;
  if (!session.Has(HTTP_OPTION_NOCACHE)) return kNoError;
  if (session.settings.version == HTTP_VERSION_10) {
    return SetRequestHeaderIfAbsent(session, "Pragma", "no-cache");
  }
  return SetRequestHeaderIfAbsent(session, "Cache-Control", "no-cache, no-store");
}

// The type that a POST body has by the session's encoding type; empty for none.
std::string_view TypeOfEncoding(INT encoding) {
  switch (encoding) {
    case HTTP_ENCODING_URL:
    case HTTP_ENCODING_XMLURL:
      return "application/x-www-form-urlencoded";
    case HTTP_ENCODING_XML:
      return "application/xml";
    case HTTP_ENCODING_JSON:
      return "application/json";
    case HTTP_ENCODING_UTF8:
      return "text/plain; charset=utf-8";
    case HTTP_ENCODING_ANSI:
      return "text/plain";
    default:
      return {};
  }
}

std::string_view DefaultBodyType(const Session& session) {
  switch (session.request.method) {
    case Method::kPost:
      return TypeOfEncoding(session.settings.encoding);
    case Method::kPut:
      return "application/octet-stream";
    case Method::kPropfind:
    case Method::kBpropfind:
    case Method::kProppatch:
    case Method::kBproppatch:
      return "application/xml";
    default:
      return {};
  }
}

Error AddBodyHeaders(Session& session) {
  const RequestState& request = session.request;
  if (const std::string_view type = DefaultBodyType(session); !type.empty()) {
    if (Error error = SetRequestHeaderIfAbsent(session, "Content-Type", type)) return error;
  }
  if (request.method == Method::kPropfind || request.method == Method::kBpropfind) {
    if (Error error = SetRequestHeaderIfAbsent(session, "Depth", "0")) return error;
  }
  SetForRequest(session, "Content-Length", std::to_string(request.parameters.size()));
  return kNoError;
}

Error AddUserAgent(Session& session) {
  if (session.Has(HTTP_OPTION_NOUSERAGENT)) {
    session.request.headers.Remove("User-Agent");
    return kNoError;
  }
  if (session.request.headers.Find("User-Agent") != nullptr) return kNoError;
  return SetRequestHeader(session, "User-Agent", DefaultUserAgent());
}

// What was sent before a redirect does not go to another origin.
void DropSentAuthorization(HeaderList& headers) {
  const HeaderEntry* entry = headers.Find("Authorization");
  if (entry != nullptr && entry->lifetime == Lifetime::kThisRequest) headers.Remove(entry->name);
}

void SetAuthorization(Session& session) {
  const Credentials& credentials = session.credentials;
  DropSentAuthorization(session.request.headers);
  if (credentials.type == HTTP_AUTH_NONE ||
      !MaySendCredentials(credentials.origin, OriginOf(session))) {
    return;
  }
  if (credentials.type == HTTP_AUTH_BEARER) {
    SetForRequest(session, "Authorization", BearerAuthorization(credentials.password));
  } else if (!credentials.user.empty() || !credentials.password.empty()) {
    SetForRequest(session, "Authorization",
                  BasicAuthorization(credentials.user, credentials.password));
  }
}

}  // namespace

Error ApplyDefaultHeaders(Session& session, const CommandArguments& arguments) {
  const RequestState& request = session.request;
  if (Error error = AddHost(session)) return error;
  SetConnection(session);
  if (request.method == Method::kGet || request.method == Method::kHead) {
    if (Error error = AddRetrievalHeaders(session)) return error;
  }
  if (SendsBody(request.method) && !request.parameters.empty()) {
    if (Error error = AddBodyHeaders(session)) return error;
  }
  const bool empty_body = arguments.complete && request.parameters.empty();
  if (arguments.declared_length > 0 || (empty_body && SendsBody(request.method))) {
    SetForRequest(session, "Content-Length", std::to_string(arguments.declared_length));
  }
  if (Error error = AddUserAgent(session)) return error;
  SetAuthorization(session);
  return kNoError;
}

}  // namespace qv
