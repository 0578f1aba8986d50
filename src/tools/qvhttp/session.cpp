#include "session.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <limits>

#include "failure.h"
#include "url_parts.h"

namespace {

constexpr int kMinStatus = 100;
constexpr int kStatusNotModified = 304;
constexpr std::size_t kMaxReasonPhrase = 256;
constexpr std::size_t kMaxUrl = 5120;
constexpr std::size_t kHeaderBuffer = 1024;  // most headers fit; longer ones are asked for again

std::string HostAndPort(const HTTPURLCOMPONENTSA& parts) {
  const std::string host = parts.lpszHostName;
  const bool is_ipv6 = host.find(':') != std::string::npos;
  return (is_ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(parts.nPort);
}

// What went wrong when no session could be opened: the way to the server, or what was asked of the
// library.
ExitCode ConnectExitCode(DWORD error) {
  switch (error) {
    case QV_ERROR_FEATURE_NOT_SUPPORTED:
    case QV_ERROR_INVALID_PROTOCOL_VERSION:
    case QV_ERROR_OUT_OF_MEMORY:
      return ExitCode::kFailure;
    default:
      return ExitCode::kConnect;
  }
}

// The header at the list's cursor, or nothing at the end.
std::optional<std::pair<std::string, std::string>> FetchHeader(HCLIENT client, DWORD header_type,
                                                               bool first) {
  std::string name(kHeaderBuffer, '\0');
  std::string value(kHeaderBuffer, '\0');
  const auto fetch = first ? HttpGetFirstHeaderA : HttpGetNextHeaderA;
  for (;;) {
    INT name_length = static_cast<INT>(name.size());
    INT value_length = static_cast<INT>(value.size());
    if (fetch(client, header_type, name.data(), &name_length, value.data(), &value_length)) {
      return std::pair(std::string(name.c_str()), std::string(value.c_str()));
    }
    const DWORD error = HttpGetLastError();
    if (error == QV_ERROR_HEADER_NOT_FOUND) return std::nullopt;
    if (error != QV_ERROR_BUFFER_TOO_SMALL) {
      throw LibraryFailure(ExitCode::kFailure, "cannot read the headers");
    }
    name.resize(std::max(name.size(), static_cast<std::size_t>(name_length)));
    value.resize(std::max(value.size(), static_cast<std::size_t>(value_length)));
  }
}

}  // namespace

Session::Session(const Options& options) : options_(options) {
  const UrlParts parts = ParseRequestUrl(options.url);
  target_ = RequestTarget(*parts);
  // Error responses have bodies that the user wants to see.
  DWORD connect_options = HTTP_OPTION_ERRORDATA;
  if (parts->nScheme == HTTP_SCHEME_HTTPS) connect_options |= HTTP_OPTION_SECURE;
  const DWORD version = options.http10 ? HTTP_VERSION_10 : HTTP_VERSION_DEFAULT;

  if (!HttpInitializeA(nullptr, 0)) {
    throw LibraryFailure(ExitCode::kFailure, "cannot start the library");
  }
  try {
    client_ = HttpConnectA(parts->lpszHostName, parts->nPort, options.timeout_seconds,
                           connect_options, version, nullptr);
    if (client_ == INVALID_CLIENT) {
      throw LibraryFailure(ConnectExitCode(HttpGetLastError()),
                           "cannot connect to " + HostAndPort(*parts));
    }
    SetHeaders();
    SetCredentials(*parts);
  } catch (...) {
    HttpUninitialize();  // closes the session, too
    throw;
  }
}

Session::~Session() {
  HttpDisconnect(client_);
  HttpUninitialize();
}

void Session::SetHeaders() {
  for (const auto& [name, value] : options_.headers) {
    if (!HttpSetRequestHeaderA(client_, name.c_str(), value.c_str())) {
      throw LibraryFailure(ExitCode::kUsage, "-H \"" + name + ": " + value + "\"");
    }
  }
}

void Session::SetCredentials(const HTTPURLCOMPONENTSA& parts) {
  INT result = 0;
  if (!options_.bearer_token.empty()) {
    result = HttpSetBearerTokenA(client_, options_.bearer_token.c_str());
  } else if (options_.user) {
    result = HttpAuthenticateA(client_, HTTP_AUTH_BASIC, options_.user->first.c_str(),
                               options_.user->second.c_str());
  } else if (parts.lpszUserName != nullptr) {
    result = HttpAuthenticateA(client_, HTTP_AUTH_BASIC, parts.lpszUserName, parts.lpszPassword);
  }
  if (result == HTTP_ERROR) throw LibraryFailure(ExitCode::kUsage, "credentials");
}

int Session::Send() {
  const std::string body = options_.data.value_or(std::string());
  if (body.size() > std::numeric_limits<DWORD>::max()) {
    throw Failure(ExitCode::kFailure, "--data: a body of 4 GiB or more cannot be sent");
  }
  // With this type the body goes out byte for byte.
  HttpSetEncodingType(client_, HTTP_ENCODING_UTF8);
  int status =
      HttpCommandA(client_, options_.method.c_str(), target_.c_str(),
                   body.empty() ? nullptr : body.data(), static_cast<DWORD>(body.size()), 0);
  if (status == HTTP_ERROR) {
    const DWORD error = HttpGetLastError();
    const bool answered = HttpGetResultCode(client_) == kStatusNotModified;
    if (options_.verbose) Trace(answered);
    if (!answered) {
      HttpSetLastError(error);
      throw LibraryFailure(ExitCode::kFailure, options_.method + " " + options_.url);
    }
    return kStatusNotModified;
  }
  if (options_.verbose) Trace(true);
  if (status < kMinStatus) {
    throw Failure(ExitCode::kFailure, options_.url + ": the server's answer is no HTTP response");
  }
  return status;
}

void Session::Trace(bool with_response) const {
  std::cerr << "> " << options_.method << ' ' << target_ << " HTTP/1." << (options_.http10 ? 0 : 1)
            << '\n';
  for (const auto& [name, value] : Headers(HTTP_HEADERS_REQUEST)) {
    std::cerr << "> " << name << ": " << value << '\n';
  }
  std::cerr << ">\n";
  if (!with_response) return;
  std::cerr << "< HTTP " << HttpGetResultCode(client_) << ' ' << ReasonPhrase() << '\n';
  for (const auto& [name, value] : Headers(HTTP_HEADERS_RESPONSE)) {
    std::cerr << "< " << name << ": " << value << '\n';
  }
  std::cerr << "<\n";
}

std::size_t Session::Read(char* buffer, std::size_t capacity) {
  const INT count = HttpRead(client_, reinterpret_cast<LPBYTE>(buffer), static_cast<INT>(capacity));
  if (count != HTTP_ERROR) return static_cast<std::size_t>(count);
  if (HttpGetLastError() == QV_ERROR_CONNECTION_CLOSED) return 0;
  throw LibraryFailure(ExitCode::kFailure, "cannot read the response of " + options_.url);
}

std::optional<std::uint64_t> Session::AnnouncedLength() const {
  ULONGLONG length = 0;
  if (!HttpGetContentLengthEx(client_, &length)) return std::nullopt;
  return length;
}

HeaderList Session::Headers(DWORD header_type) const {
  HeaderList headers;
  while (auto header = FetchHeader(client_, header_type, headers.empty())) {
    headers.push_back(std::move(*header));
  }
  return headers;
}

std::string Session::ReasonPhrase() const {
  std::array<char, kMaxReasonPhrase> phrase{};
  HttpGetResultStringA(client_, phrase.data(), static_cast<INT>(phrase.size()));
  return phrase.data();
}

std::string Session::RedirectUrl() const {
  std::array<char, kMaxUrl> url{};
  const INT length = HttpGetRedirectUrlA(client_, url.data(), static_cast<INT>(url.size()));
  return length > 0 ? std::string(url.data()) : std::string();
}
