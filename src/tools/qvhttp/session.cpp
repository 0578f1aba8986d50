#include "session.h"

#include <array>
#include <iostream>
#include <string_view>

#include "connection.h"
#include "content_coding.h"
#include "failure.h"
#include "form_submission.h"
#include "header_enumeration.h"
#include "interrupt.h"
#include "url_parts.h"

namespace {

constexpr int kMinStatus = 100;
constexpr int kNotModified = 304;
constexpr int kFirstErrorStatus = 400;
constexpr int kShortWait = 1;  // seconds
constexpr std::size_t kMaxReasonPhrase = 256;

// A body of less than this is gone before its progress could be read.
constexpr std::size_t kSmallestShownUpload = std::size_t{256} << 10;

}  // namespace

Session::Session(const Options& options, Request request, Progress& progress)
    : options_(options), request_(std::move(request)), progress_(progress) {
  const UrlParts parts = ParseRequestUrl(request_.url);
  target_ = RequestTarget(*parts);
  if (!HttpInitializeA(nullptr, 0)) {
    throw LibraryFailure(ExitCode::kFailure, "cannot start the library");
  }
  try {
    {
      const ConnectingScope connecting;
      client_ = Connect(*parts, options, request_.is_trusted);
    }
    SetHeaders();
    if (request_.is_trusted) SetCredentials();
    RegisterEvents();
  } catch (...) {
    HttpUninitialize();  // closes the session, too
    throw;
  }
  CancelOnInterrupt(client_);
}

Session::~Session() {
  CancelOnInterrupt(INVALID_CLIENT);
  HttpDisconnect(client_);
  HttpUninitialize();
}

void Session::SetHeaders() {
  const auto set = [&](const std::string& name, const std::string& value) {
    if (!HttpSetRequestHeaderA(client_, name.c_str(), value.c_str())) {
      throw LibraryFailure(ExitCode::kUsage, "-H \"" + name + ": " + value + "\"");
    }
  };
  if (request_.body != nullptr) {
    const RequestBody& body = *request_.body;
    if (!body.content_type.empty()) set("Content-Type", body.content_type);
    if (body.content.empty() && body.streamed_file.empty()) set("Content-Length", "0");
  }
  for (const auto& [name, value] : request_.headers) {
    if (request_.is_trusted || !IsBoundToOrigin(name)) set(name, value);
  }
  if (!request_.is_trusted) return;
  for (const auto& [name, value] : options_.cookies) {
    if (!HttpSetCookieA(client_, name.c_str(), value.c_str())) {
      throw LibraryFailure(ExitCode::kUsage, "--cookie " + name);
    }
  }
}

void Session::SetCredentials() {
  const UrlParts parts = ParseRequestUrl(options_.url);
  INT result = 0;
  if (!options_.bearer_token.empty()) {
    result = HttpSetBearerTokenA(client_, options_.bearer_token.c_str());
  } else if (options_.user) {
    result = HttpAuthenticateA(client_, HTTP_AUTH_BASIC, options_.user->first.c_str(),
                               options_.user->second.c_str());
  } else if (parts->lpszUserName != nullptr) {
    result = HttpAuthenticateA(client_, HTTP_AUTH_BASIC, parts->lpszUserName, parts->lpszPassword);
  }
  if (result == HTTP_ERROR) throw LibraryFailure(ExitCode::kUsage, "credentials");
}

void Session::RegisterEvents() {
  const auto self = reinterpret_cast<DWORD_PTR>(this);
  const RequestBody* body = request_.body;
  const bool is_large = body != nullptr && (body->content.size() >= kSmallestShownUpload ||
                                            !body->streamed_file.empty());
  const bool is_decoded = request_.decodes;
  if (is_large || is_decoded) HttpRegisterEvent(client_, HTTP_EVENT_PROGRESS, OnProgress, self);
  if (is_decoded) HttpRegisterEvent(client_, HTTP_EVENT_FILEOPEN, OnFileOpen, self);
}

void CALLBACK Session::OnProgress(HCLIENT client, UINT, DWORD, DWORD_PTR self) {
  HTTPTRANSFERSTATUSEX status{};
  if (HttpGetTransferStatusEx(client, &status) == HTTP_ERROR) return;
  auto& session = *reinterpret_cast<Session*>(self);
  std::optional<std::uint64_t> total = status.dwBytesTotal;
  // Without an announced length the record gives what has come so far.
  if (session.request_.decodes && !HttpGetResponseHeaderA(client, "Content-Length", nullptr, 0))
    total.reset();
  session.progress_.Update(status.dwBytesCopied, total);
}

// The library takes a chunked body that is cut off for a whole one when it stores a file. A decoder
// notices; a body that came without a coding is better read here.
void CALLBACK Session::OnFileOpen(HCLIENT client, UINT, DWORD error, DWORD_PTR self) {
  auto& session = *reinterpret_cast<Session*>(self);
  if (error != 0) return;
  const HeaderList headers = session.Headers(HTTP_HEADERS_RESPONSE);
  if (!FindField(headers, "Transfer-Encoding") || HasContentCoding(headers)) return;
  session.must_ask_plainly_ = true;
  HttpCancel(client);
}

int Session::Send() {
  // With this type a body goes out byte for byte; forms have types of their own.
  if (request_.form == nullptr) HttpSetEncodingType(client_, HTTP_ENCODING_UTF8);
  progress_.Start(0);
  int status = Perform();
  if (must_ask_plainly_) return 0;
  if (status == HTTP_ERROR) status = StatusOfFailure();
  progress_.Finish();
  if (options_.verbose) Trace(true);
  if (status < kMinStatus) {
    throw Failure(ExitCode::kFailure, request_.url + ": the server's answer is no HTTP response");
  }
  return status;
}

int Session::Perform() {
  if (request_.form != nullptr) {
    return SubmitForm(client_, *request_.form, target_, form_response_);
  }
  if (request_.decodes) {
    scratch_.emplace();
    return HttpGetFileExA(client_, DecodedFile().c_str(), target_.c_str(),
                          HTTP_TRANSFER_COMPRESS | HTTP_TRANSFER_ERRORDATA, 0);
  }
  const RequestBody* body = request_.body;
  if (body != nullptr && !body->streamed_file.empty()) {
    return HttpPutFileA(client_, body->streamed_file.c_str(), target_.c_str(), 0, 0);
  }
  const std::string_view content = body != nullptr ? body->content : std::string_view();
  const int status = HttpCommandA(client_, request_.method.c_str(), target_.c_str(),
                                  content.empty() ? nullptr : content.data(),
                                  static_cast<DWORD>(content.size()), 0);
  // After the header of a PUT without a body the library expects one of the length announced, 0.
  const bool awaits_body = content.empty() && request_.method == "PUT" && status != HTTP_ERROR;
  if (!awaits_body) return status;
  return HttpCloseFile(client_) == HTTP_ERROR ? HTTP_ERROR : HttpGetResultCode(client_);
}

// The status of a response that the library reports as an error, such as 304, or of one that came
// before all of the request was sent. Without a response, throws the error.
int Session::StatusOfFailure() {
  const DWORD error = HttpGetLastError();
  int status = 0;
  if (error != QV_ERROR_OPERATION_CANCELED && error != QV_ERROR_OPERATION_TIMEOUT) {
    HttpSetTimeout(client_, kShortWait);  // the response is there, or nothing will come
    status = HttpGetResultCode(client_);
    HttpSetTimeout(client_, static_cast<INT>(options_.timeout_seconds));
  }
  if (status == kNotModified || status >= kFirstErrorStatus) return status;
  if (options_.verbose) Trace(false);
  HttpSetLastError(error);
  throw LibraryFailure(ExitCode::kFailure, request_.method + " " + request_.url);
}

void Session::Trace(bool with_response) const {
  std::cerr << "> " << request_.method << ' ' << target_ << " HTTP/1." << (options_.http10 ? 0 : 1)
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
  CheckInterrupted();
  const INT count = HttpRead(client_, reinterpret_cast<LPBYTE>(buffer), static_cast<INT>(capacity));
  if (count != HTTP_ERROR) return static_cast<std::size_t>(count);
  if (HttpGetLastError() == QV_ERROR_CONNECTION_CLOSED) return 0;
  throw LibraryFailure(ExitCode::kFailure, "cannot read the response of " + request_.url);
}

std::optional<std::uint64_t> Session::AnnouncedLength() const {
  ULONGLONG length = 0;
  if (!HttpGetContentLengthEx(client_, &length)) return std::nullopt;
  return length;
}

std::uint64_t Session::ReceivedLength() const {
  HTTPTRANSFERSTATUSEX status{};
  HttpGetTransferStatusEx(client_, &status);
  return status.dwBytesCopied;
}

std::uint64_t Session::MissingLength() const {
  HTTPTRANSFERSTATUSEX status{};
  HttpGetTransferStatusEx(client_, &status);
  return status.dwBytesTotal > status.dwBytesCopied ? status.dwBytesTotal - status.dwBytesCopied
                                                    : 0;
}

HeaderList Session::Headers(DWORD header_type) const {
  return EnumerateHeaders(client_, header_type);
}

std::string Session::ReasonPhrase() const {
  std::array<char, kMaxReasonPhrase> phrase{};
  HttpGetResultStringA(client_, phrase.data(), static_cast<INT>(phrase.size()));
  return phrase.data();
}
