#include <algorithm>
#include <chrono>
#include <deque>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>

#include "background_download.h"
#include "commands.h"
#include "connection.h"
#include "failure.h"
#include "interrupt.h"
#include "library_scope.h"
#include "progress.h"
#include "progress_board.h"
#include "target_folder.h"
#include "target_name.h"
#include "text.h"
#include "url_parts.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kDrawIntervalMs = 100;
constexpr DWORD kAbortWaitMs = 5000;
constexpr unsigned int kUsualTimeout = 20;  // of a task without a session, in seconds

// A task of the library at work.
struct Running {
  BackgroundDownload* download;
  DWORD task;
  Clock::time_point start;
};

void CALLBACK OnFileOpen(HCLIENT client, UINT, DWORD, DWORD_PTR download) {
  if (!reinterpret_cast<BackgroundDownload*>(download)->OnFileOpen(client, false)) {
    HttpCancel(client);
  }
}

void CALLBACK OnTaskEvent(HCLIENT client, UINT event, DWORD, DWORD_PTR download) {
  if (event != HTTP_EVENT_CONNECT || client == INVALID_CLIENT) return;
  HttpRegisterEvent(client, HTTP_EVENT_FILEOPEN, OnFileOpen, download);
  reinterpret_cast<BackgroundDownload*>(download)->OnConnect(client);
}

// A session whose settings a task takes over, where there are any.
class Pattern {
 public:
  Pattern(const Options& options, const std::string& url) {
    if (!options.tls.IsSet() && options.timeout_seconds == kUsualTimeout) return;
    client_ = Connect(*ParseRequestUrl(url), options, true);
  }
  ~Pattern() {
    if (client_ != INVALID_CLIENT) HttpDisconnect(client_);
  }
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  HCLIENT client() const { return client_; }

 private:
  HCLIENT client_ = INVALID_CLIENT;
};

class DownloadRun {
 public:
  explicit DownloadRun(const Options& options) : options_(options) {
    TargetNames names;
    for (const std::string& url : options.urls) {
      downloads_.emplace_back(options, url,
                              std::filesystem::path(options.folder) / names.ForUrl(url));
    }
    MakeTargetFolder(options.folder);
  }

  ExitCode Run() {
    while (next_ < downloads_.size() || !running_.empty()) {
      while (next_ < downloads_.size() && running_.size() < options_.jobs && !Interrupted()) {
        Start(downloads_[next_++]);
      }
      if (Interrupted()) Abort();
      Wait();
      Collect();
      Draw();
    }
    CheckInterrupted();
    return code_;
  }

 private:
  void Start(BackgroundDownload& download) {
    try {
      const Pattern pattern(options_, download.url());
      download.Prepare();
      const DWORD task = HttpAsyncGetFileA(pattern.client(), download.LocalName().c_str(),
                                           download.RequestedUrl().c_str(), 0, 0, OnTaskEvent,
                                           reinterpret_cast<DWORD_PTR>(&download));
      if (task == 0) throw LibraryFailure(ExitCode::kFailure, "cannot start the transfer");
      running_.push_back({&download, task, Clock::now()});
      AwaitSettings(pattern.client(), task);
    } catch (const Failure& failure) {
      download.Release();
      Report(download, {failure.code(), download.ShownUrl() + ": " + failure.what(), 0});
    }
  }

  // The session has to stay until the task has taken over its settings, as it has when it has one.
  static void AwaitSettings(HCLIENT pattern, DWORD task) {
    if (pattern == INVALID_CLIENT) return;
    while (HttpGetTaskHandle(task) == INVALID_CLIENT && HttpTaskDone(task) == 0 && !Interrupted()) {
      HttpTaskWait(task, 1, 0, nullptr, nullptr);
    }
  }

  void Wait() const {
    std::vector<DWORD> tasks;
    for (const Running& running : running_) tasks.push_back(running.task);
    if (tasks.empty()) return;
    HttpTaskWaitAny(tasks.data(), static_cast<INT>(tasks.size()), kDrawIntervalMs, 0);
  }

  void Collect() {
    for (std::size_t i = 0; i < running_.size();) {
      const Running running = running_[i];
      DWORD error = 0;
      if (!HttpTaskWait(running.task, 0, 0, nullptr, &error)) {
        ++i;
        continue;
      }
      HTTPTRANSFERSTATUSEX status{};
      HttpGetTaskStatusEx(running.task, 0, &status);
      running_.erase(running_.begin() + static_cast<std::ptrdiff_t>(i));
      auto outcome = running.download->Conclude(error, status.dwBytesCopied, status.dwBytesTotal);
      if (!outcome) {
        board_.Show({});
        outcome = running.download->FetchHere(false);
      }
      Report(*running.download, *outcome);
    }
  }

  void Report(const BackgroundDownload& download, const Outcome& outcome) {
    if (Interrupted()) return;
    board_.Show({});
    if (outcome.code == ExitCode::kSuccess) {
      std::cout << download.ShownUrl() << " -> " << PrintableText(download.target().string())
                << ", " << outcome.bytes << " bytes" << std::endl;
      if (!std::cout) throw Failure(ExitCode::kFailure, "cannot write the output");
      return;
    }
    std::cerr << "qvhttp: " << outcome.sentence << '\n';
    if (code_ == ExitCode::kSuccess) code_ = outcome.code;
  }

  void Draw() {
    std::vector<std::string> lines;
    for (const Running& running : running_) {
      HTTPTRANSFERSTATUSEX status{};
      HttpGetTaskStatusEx(running.task, 0, &status);
      const std::chrono::duration<double> elapsed = Clock::now() - running.start;
      lines.push_back(running.download->ShownName() + "  " +
                      ProgressLine(0, status.dwBytesCopied, status.dwBytesTotal, elapsed.count()));
    }
    board_.Show(lines);
  }

  // All of them are told before the first is waited for.
  [[noreturn]] void Abort() {
    board_.Show({});
    for (const Running& running : running_) HttpTaskAbort(running.task, 0);
    for (const Running& running : running_) {
      HttpTaskAbort(running.task, kAbortWaitMs);
      running.download->Release();
    }
    throw Failure(ExitCode::kInterrupted, "interrupted");
  }

  const Options& options_;
  std::deque<BackgroundDownload> downloads_;
  // Behind the downloads: its end is that of the tasks, whose callbacks use them.
  const LibraryScope library_;
  std::size_t next_ = 0;
  std::vector<Running> running_;
  ProgressBoard board_;
  ExitCode code_ = ExitCode::kSuccess;  // of the first one that failed
};

}  // namespace

ExitCode RunDownloads(const Options& options) { return DownloadRun(options).Run(); }
