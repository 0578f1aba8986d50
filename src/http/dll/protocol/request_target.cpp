#include "protocol/request_target.h"

#include "frame/session.h"
#include "url/encoder.h"

namespace qv {
namespace {

constexpr std::size_t kPathCapacity = 512;  // with the terminator
constexpr std::size_t kLongestPrefix = 255;

Result<std::string> EncodePath(std::string_view path) {
  std::string encoded(path);
  if (NeedsEncoding(path)) {
    std::optional<std::string> text = EncodeText(EncodeMode::kPath, path);
    if (!text) return Error(QV_ERROR_INVALID_FILE_NAME);
    encoded = *std::move(text);
  }
  if (encoded.size() >= kPathCapacity - 1) return Error(QV_ERROR_INVALID_FILE_NAME);
  return encoded;
}

Result<std::string> EncodeQuery(const Session& session, std::string_view query) {
  if (session.settings.encoding != HTTP_ENCODING_NONE && NeedsEncoding(query)) {
    std::optional<std::string> encoded = EncodeText(EncodeMode::kData, query);
    if (!encoded || encoded->empty()) return Error(QV_ERROR_DATA_NOT_ENCODED);
    return *std::move(encoded);
  }
  if (query.find_first_of("\r\n") != query.npos) return Error(QV_ERROR_INVALID_RESOURCE);
  return std::string(query);
}

// Takes "scheme://host" off an absolute URL and returns it.
std::string_view SplitPrefix(std::string_view& resource) {
  const std::size_t scheme_end = resource.find("://");
  if (scheme_end == resource.npos) return {};
  const std::size_t slash = resource.find('/', scheme_end + 3);
  const std::string_view prefix = resource.substr(0, slash);
  resource.remove_prefix(prefix.size());
  return prefix.substr(0, kLongestPrefix);
}

std::string ProxyPrefix(const Connection& connection) {
  const bool secure = connection.proxy_type == kProxySecure || connection.port == HTTP_PORT_SECURE;
  return (secure ? "https://" : "http://") + HostForUrl(connection.host) + ":" +
         std::to_string(connection.port);
}

}  // namespace

std::string HostForUrl(std::string_view host) {
  if (host.find(':') == host.npos) return std::string(host);
  return "[" + std::string(host) + "]";
}

Result<RequestTarget> MakeRequestTarget(const Session& session, std::string_view resource) {
  const Connection& connection = session.connection;
  RequestTarget target;
  switch (connection.proxy_type) {
    case kProxyNone:
      break;
    case kProxyStandard:
    case kProxySecure:
    case kProxyOther:
      target.prefix = SplitPrefix(resource);
      if (target.prefix.empty()) target.prefix = ProxyPrefix(connection);
      break;
    default:
      return Error(QV_ERROR_INVALID_PROXY_TYPE);
  }
  const std::size_t question_mark = resource.find('?');
  Result<std::string> path = EncodePath(resource.substr(0, question_mark));
  if (!path) return path.error();
  target.path = *std::move(path);
  if (question_mark != resource.npos) {
    Result<std::string> query = EncodeQuery(session, resource.substr(question_mark + 1));
    if (!query) return query.error();
    target.query = *std::move(query);
  }
  return target;
}

}  // namespace qv
