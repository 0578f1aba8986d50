#include "redirect.h"

#include <string_view>

#include "failure.h"
#include "reference.h"
#include "url_parts.h"

namespace {

constexpr int kMovedPermanently = 301;
constexpr int kFound = 302;
constexpr int kSeeOther = 303;

bool BecomesGet(const std::string& method, int status) {
  if (status == kSeeOther) return method != "GET" && method != "HEAD";
  return method == "POST" && (status == kMovedPermanently || status == kFound);
}

bool DescribesBody(std::string_view name) { return StartsWithIgnoringCase(name, "Content-"); }

bool IsWebUrl(const std::string& url) {
  return StartsWithIgnoringCase(url, "http://") || StartsWithIgnoringCase(url, "https://");
}

UrlParts TryParse(const std::string& url) {
  try {
    return ParseRequestUrl(url);
  } catch (const Failure&) {
    return nullptr;
  }
}

}  // namespace

std::optional<Request> RedirectedRequest(const Request& request, int status,
                                         const std::string& location,
                                         const std::string& first_url) {
  const std::string url = ResolveReference(*ParseRequestUrl(request.url), location);
  const UrlParts parts = IsWebUrl(url) ? TryParse(url) : nullptr;
  if (!parts) return std::nullopt;
  Request next = request;
  // Credentials in a location are the server's, not the user's: they are not used.
  next.url = UrlWithoutUser(*parts);
  next.is_trusted = OriginOf(*parts) == OriginOf(*ParseRequestUrl(first_url));
  if (BecomesGet(request.method, status)) {
    next.method = "GET";
    next.body = nullptr;
    std::erase_if(next.headers, [](const auto& header) { return DescribesBody(header.first); });
  }
  // The fields of a form that is submitted with GET have been in the URL that was left.
  if (next.method != "POST") next.form = nullptr;
  return next;
}
