#include "download.h"

#include "body.h"
#include "commands.h"
#include "content_range.h"
#include "delivery.h"
#include "exchange.h"
#include "failure.h"
#include "partial_file.h"
#include "status.h"
#include "url_parts.h"

namespace {

constexpr int kPartialContent = 206;
constexpr int kRangeNotSatisfiable = 416;

[[noreturn]] void WrongRange(const std::string& range) {
  throw Failure(ExitCode::kFailure, "the server sent another range than was asked for: " +
                                        (range.empty() ? "none named" : range));
}

// One run of "get -o FILE".
class Download {
 public:
  explicit Download(const Options& options)
      : options_(options),
        url_(UrlWithoutUser(*ParseRequestUrl(options.url))),
        partial_(options.output),
        resuming_(options.resume && partial_.OpenExisting(url_)) {}

  // The answer to the last request. A success is in the file; the body of another is still to be
  // read.
  Answer Run() {
    for (;;) {
      Answer answer = Ask(options_, MakeRequest(), progress_);
      if (!MustStartOver(answer)) {
        Receive(answer);
        return answer;
      }
      partial_.Discard();
      resuming_ = false;
    }
  }

  // Whether the file is there.
  bool IsComplete() const { return is_complete_; }

  std::uint64_t size() const { return partial_.size(); }

 private:
  Request MakeRequest() const {
    Request request = FirstRequest(options_);
    if (resuming_) {
      request.headers.emplace_back("Range", "bytes=" + std::to_string(partial_.size()) + "-");
      request.headers.emplace_back("If-Range", partial_.record().validator);
    }
    return request;
  }

  // Whether what is there is of no use, as the server's answer to the request for the rest shows.
  bool MustStartOver(const Answer& answer) const {
    if (!resuming_) return false;
    const HeaderList headers = answer.session->Headers(HTTP_HEADERS_RESPONSE);
    if (answer.status == kPartialContent) return !MayMatch(partial_.record(), headers);
    if (answer.status != kRangeNotSatisfiable) return false;
    const auto range = ParseContentRange(FindField(headers, "Content-Range").value_or(""));
    const auto length = range && range->length ? range->length : partial_.record().length;
    return length != partial_.size() || !MayMatch(partial_.record(), headers);
  }

  void Receive(const Answer& answer) {
    if (resuming_ && answer.status == kRangeNotSatisfiable) {  // nothing was missing
      Complete();
    } else if (answer.status == kPartialContent) {
      ReceivePart(answer);
    } else if (IsSuccess(answer.status)) {
      ReceiveWhole(answer);
    }
  }

  void Complete() {
    partial_.Finish();
    is_complete_ = true;
  }

  void ReceiveWhole(const Answer& answer) {
    partial_.Begin(DescribeResponse(url_, answer.session->Headers(HTTP_HEADERS_RESPONSE)));
    resuming_ = false;
    CopyInto(answer);
    Complete();
  }

  void ReceivePart(const Answer& answer) {
    const HeaderList headers = answer.session->Headers(HTTP_HEADERS_RESPONSE);
    const std::string field = FindField(headers, "Content-Range").value_or("");
    if (!resuming_) {
      // The user's own range makes a file by itself, which cannot be told from others later.
      if (!FindField(options_.headers, "Range")) WrongRange(field);
      partial_.Begin(PartialRecord{});
      CopyInto(answer);
      Complete();
      return;
    }
    const auto range = ParseContentRange(field);
    const auto& known_length = partial_.record().length;
    if (!range || !range->span || range->span->first != partial_.size()) WrongRange(field);
    const auto length = range->length ? range->length : known_length;
    const bool reaches_end = length && range->span->last + 1 == *length;
    if (!reaches_end || (known_length && known_length != length)) WrongRange(field);
    CopyInto(answer);
    if (partial_.size() != *length) {
      throw Failure(ExitCode::kFailure, "the server sent another length than the range it named");
    }
    Complete();
  }

  void CopyInto(const Answer& answer) {
    if (!StatusHasBody(answer.status)) return;
    CopyBody(*answer.session, progress_, partial_.size(),
             [this](std::string_view content) { partial_.Write(content); });
  }

  const Options& options_;
  const std::string url_;
  Progress progress_{true};
  PartialFile partial_;
  bool resuming_;
  bool is_complete_ = false;
};

}  // namespace

ExitCode RunDownload(const Options& options) {
  Download download(options);
  const Answer answer = download.Run();
  if (download.IsComplete()) return ExitCode::kSuccess;
  Progress no_progress(false);
  DeliverBody(answer, no_progress, "");
  return ReportStatus(answer);
}

std::uint64_t DownloadFile(const Options& options) {
  Download download(options);
  const Answer answer = download.Run();
  if (!download.IsComplete()) throw StatusFailure(answer);
  return download.size();
}
