// Exported functions: paths and URLs of resources.
#include <optional>
#include <string>

#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "protocol/request_target.h"
#include "url/path_normalizer.h"
#include "url/url_composer.h"
#include "url/url_parser.h"

namespace {

constexpr std::size_t kPathCapacity = 512;
constexpr std::size_t kUrlTextCapacity = 1024;
constexpr INT kUrlCapacity = 5120;

// Gives a text to a caller who may only ask for its length.
qv::Result<INT> Deliver(std::string_view text, LPSTR target, INT capacity) {
  const auto length = static_cast<INT>(text.size());
  if (target == nullptr || capacity == 0) return length;
  if (capacity > 0) *target = '\0';
  if (length >= capacity) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
  return qv::CopyText(text, target, capacity);
}

qv::Result<std::string> NormalizedPath(std::string_view resource) {
  resource = qv::TrimLeft(resource);
  if (resource.empty() || resource.size() >= kPathCapacity) {
    return qv::Error(QV_ERROR_INVALID_FILE_NAME);
  }
  std::string path(resource);
  if (!resource.starts_with('/') && qv::CheckUrl(resource) != 0) {
    const std::optional<qv::Url> url = qv::ParseUrl(resource, HTTP_URLOPT_NORMALIZE);
    if (!url) return qv::Error(QV_ERROR_INVALID_URL_SCHEME);
    path = url->resource;
  }
  qv::NormalizePath(path);
  return path;
}

// A URL written anew without its user.
qv::Result<std::string> WithoutUser(std::string_view name) {
  std::optional<qv::Url> url = qv::ParseUrl(name, HTTP_URLOPT_NORMALIZE);
  if (!url) return qv::Error(QV_ERROR_INVALID_URL_SCHEME);
  url->user.reset();
  url->password.reset();
  std::optional<std::string> text = qv::CreateUrl(*url, 0, kUrlCapacity);
  if (!text) return qv::Error(QV_ERROR_INTERNAL_FAILURE);
  return *std::move(text);
}

// The URL of a resource on the server of a session.
qv::Result<std::string> UrlOnServer(HCLIENT client, std::string_view name) {
  qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Validate(client);
  if (!session) return qv::Error(QV_ERROR_NOT_CONNECTED);
  const bool secure = (*session)->Has(HTTP_OPTION_SECURE);
  const qv::Connection& connection = (*session)->connection;
  std::string url = (secure ? "https://" : "http://") + qv::HostForUrl(connection.host);
  if (connection.port != (secure ? HTTP_PORT_SECURE : HTTP_PORT_DEFAULT)) {
    url += ":" + std::to_string(connection.port);
  }
  qv::Result<std::string> path = NormalizedPath(name);
  if (!path) return path;
  if (!path->starts_with('/')) url += '/';
  return url + *path;
}

}  // namespace

INT WINAPI HttpNormalizePathA(LPCSTR lpszResource, LPSTR lpszNormalized,
                              INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (lpszResource == nullptr || nMaxLength < 0) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    qv::Result<std::string> path = NormalizedPath(lpszResource);
    if (!path) return path.error();
    return Deliver(*path, lpszNormalized, nMaxLength);
  });
}

INT WINAPI HttpNormalizeUrlA(LPCSTR lpszURL, LPSTR lpszNormalized, INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (lpszURL == nullptr || nMaxLength < 0) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    const std::string_view text = qv::TrimLeft(lpszURL);
    if (text.empty() || text.size() >= kUrlTextCapacity) {
      return qv::Error(QV_ERROR_INVALID_URL_PATH);
    }
    if (qv::CheckUrl(text) == 0) return qv::Error(QV_ERROR_INVALID_URL_SCHEME);
    const std::optional<qv::Url> url = qv::ParseUrl(text, HTTP_URLOPT_NORMALIZE);
    if (!url) return qv::Error(QV_ERROR_INVALID_URL_SCHEME);
    const std::optional<std::string> normalized =
        qv::CreateUrl(*url, 0, static_cast<INT>(kUrlTextCapacity));
    return Deliver(normalized.value_or(""), lpszNormalized, nMaxLength);
  });
}

INT WINAPI HttpGetFilePathUrlA(HCLIENT hClient, LPCSTR lpszFileName, LPSTR lpszURL,
                               INT nMaxLength) QV_NOEXCEPT {
  return qv::Boundary<INT>(0, [&]() -> qv::Result<INT> {
    qv::CopyText({}, lpszURL, nMaxLength);
    if (lpszFileName == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    const std::string_view name = qv::TrimLeft(lpszFileName);
    if (name.empty()) return qv::Error(QV_ERROR_INVALID_FILE_NAME);
    const bool absolute = name.find("://") != name.npos;
    qv::Result<std::string> url = absolute ? WithoutUser(name) : UrlOnServer(hClient, name);
    if (!url) return url.error();
    return Deliver(*url, lpszURL, nMaxLength);
  });
}
