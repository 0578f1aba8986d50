#include "background_download.h"

#include <array>
#include <exception>

#include "connection.h"
#include "content_coding.h"
#include "download.h"
#include "failure.h"
#include "header_enumeration.h"
#include "partial_record.h"
#include "status.h"
#include "text.h"
#include "url_parts.h"

namespace {

constexpr int kOk = 200;
constexpr int kFirstErrorStatus = 400;
constexpr std::size_t kMaxReasonPhrase = 256;

std::string ReasonPhrase(HCLIENT client) {
  std::array<char, kMaxReasonPhrase> phrase{};
  HttpGetResultStringA(client, phrase.data(), static_cast<INT>(phrase.size()));
  return phrase.data();
}

// What a failed connect or transfer means to the shell.
ExitCode ExitCodeOf(DWORD error) {
  switch (error) {
    case QV_ERROR_OPERATION_TIMEOUT:
      return ExitCode::kTimeout;
    case QV_ERROR_INVALID_HOSTNAME:
    case QV_ERROR_CONNECTION_REFUSED:
    case QV_ERROR_HOST_UNREACHABLE:
    case QV_ERROR_NETWORK_UNREACHABLE:
    case QV_ERROR_SECURITY_CERTIFICATE:
    case QV_ERROR_SECURITY_CONTEXT:
      return ExitCode::kConnect;
    default:
      return ExitCode::kFailure;
  }
}

}  // namespace

std::string BackgroundDownload::ShownUrl() const {
  return PrintableText(UrlWithoutUser(*ParseRequestUrl(url_)));
}

std::string BackgroundDownload::ShownName() const {
  return PrintableText(target_.filename().string());
}

void BackgroundDownload::Prepare() {
  partial_.emplace(target_.string());
  partial_->Begin(PartialRecord{});
}

void BackgroundDownload::Release() {
  if (partial_) partial_->UpdateSize();
  partial_.reset();
}

Outcome BackgroundDownload::Fail(ExitCode code, const std::string& sentence) const {
  return {code, ShownUrl() + ": " + PrintableText(sentence), 0};
}

std::optional<Outcome> BackgroundDownload::Conclude(DWORD error, std::uint64_t bytes,
                                                    std::uint64_t announced) {
  if (fetch_here_) {
    partial_->Discard();
    partial_.reset();
    return std::nullopt;
  }
  partial_->UpdateSize();
  Outcome outcome;
  outcome.bytes = partial_->size();
  try {
    if (!refusal_.empty()) {
      outcome = Fail(ExitCode::kConnect, "cannot trust the server: " + refusal_);
    } else if (status_ != 0) {
      outcome = Fail(ExitCodeOfStatus(status_),
                     "the server answered: " + std::to_string(status_) + " " + reason_);
    } else if (error != 0) {
      outcome = Fail(ExitCodeOf(error), ErrorText(error));
    } else if (bytes < announced || outcome.bytes != bytes) {
      outcome = Fail(ExitCode::kFailure, "the server sent " + std::to_string(bytes) + " of " +
                                             std::to_string(announced) + " announced bytes");
    } else {
      partial_->Finish();
    }
  } catch (const Failure& failure) {
    outcome = Fail(failure.code(), failure.what());
  }
  partial_.reset();
  return outcome;
}

bool BackgroundDownload::HasResumablePart() const {
  return PartialFile(target_.string()).OpenExisting(UrlWithoutUser(*ParseRequestUrl(url_)));
}

Outcome BackgroundDownload::FetchHere(bool resume) {
  Options options = options_;
  options.url = url_;
  options.output = target_.string();
  options.resume = resume;
  try {
    return {ExitCode::kSuccess, "", DownloadFile(options)};
  } catch (const Failure& failure) {
    return Fail(failure.code(), failure.what());
  }
}

void BackgroundDownload::OnConnect(HCLIENT client) {
  if (HttpGetLastError() != QV_ERROR_SECURITY_CERTIFICATE || options_.tls.insecure) return;
  refusal_ = CertificateFault(client);
  HttpDisconnect(client);
}

bool BackgroundDownload::OnFileOpen(HCLIENT client, bool needs_length) {
  try {
    return Accept(client, needs_length);
  } catch (const std::exception&) {  // which the library must not see; its reason shows up again
    fetch_here_ = true;
    return false;
  }
}

bool BackgroundDownload::Accept(HCLIENT client, bool needs_length) {
  const int status = HttpGetResultCode(client);
  if (status >= kFirstErrorStatus) {
    status_ = status;
    reason_ = ReasonPhrase(client);
    return false;
  }
  const HeaderList headers = EnumerateHeaders(client, HTTP_HEADERS_RESPONSE);
  const PartialRecord record = DescribeResponse(UrlWithoutUser(*ParseRequestUrl(url_)), headers);
  fetch_here_ = status != kOk || HasContentCoding(headers) || (needs_length && !record.length);
  if (fetch_here_) return false;
  partial_->Describe(record);
  return true;
}
