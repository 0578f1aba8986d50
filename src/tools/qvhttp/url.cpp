#include <array>
#include <iostream>

#include "commands.h"
#include "failure.h"
#include "url_parts.h"

namespace {

constexpr std::size_t kMaxUrl = 5120;

void PrintPart(const char* name, const char* value) {
  if (value != nullptr) std::cout << name << ": " << value << '\n';
}

}  // namespace

ExitCode RunParseUrl(const Options& options) {
  const UrlParts parts = ParseUrl(options.url, 0);
  PrintPart("scheme", parts->nScheme == HTTP_SCHEME_HTTPS ? "https" : "http");
  PrintPart("user", parts->lpszUserName);
  PrintPart("password", parts->lpszPassword);
  PrintPart("host", parts->lpszHostName);
  PrintPart("port", std::to_string(parts->nPort).c_str());
  PrintPart("path", parts->lpszResource);
  PrintPart("query", parts->lpszQuery);
  return ExitCode::kSuccess;
}

ExitCode RunNormalizeUrl(const Options& options) {
  const UrlParts parts = ParseUrl(options.url, HTTP_URLOPT_NORMALIZE);
  std::array<char, kMaxUrl> url{};
  if (HttpCreateUrlA(parts.get(), HTTP_URLOPT_NORMALIZE, url.data(),
                     static_cast<INT>(url.size())) <= 0) {
    throw Failure(ExitCode::kFailure, options.url + ": the URL is too long");
  }
  std::cout << url.data() << '\n';
  return ExitCode::kSuccess;
}
