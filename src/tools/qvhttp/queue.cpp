#include <algorithm>
#include <array>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <system_error>
#include <vector>

#include "background_download.h"
#include "commands.h"
#include "failure.h"
#include "interrupt.h"
#include "library_scope.h"
#include "progress.h"
#include "queue_list.h"
#include "target_folder.h"
#include "text.h"
#include "url_parts.h"

namespace {

namespace fs = std::filesystem;

constexpr DWORD kDrawIntervalMs = 100;
constexpr unsigned int kLeastTimeout = 3;  // of a queue, in seconds
constexpr unsigned int kMostTimeout = 60;
constexpr std::size_t kLongestUrl = 511;  // of what the library cuts off nothing
// Files at a time in the library's queue. Each is open meanwhile.
constexpr std::size_t kBatch = 64;

// Whether the library's queue does what the options ask for. It neither refuses a server without a
// valid certificate before it has sent the request, nor knows client certificates.
bool SuitsQueue(const std::string& url, const Options& options) {
  return url.size() <= kLongestUrl && options.timeout_seconds >= kLeastTimeout &&
         options.timeout_seconds <= kMostTimeout &&
         ParseRequestUrl(url)->nScheme == HTTP_SCHEME_HTTP;
}

struct Entry {
  explicit Entry(const Options& options, const QueueEntry& listed, const fs::path& folder)
      : download(options, listed.url, folder / listed.name) {}

  BackgroundDownload download;
  const char* result = "";
  Outcome outcome;
};

// One run of the library's queue, with files that it fetches.
class Batch {
 public:
  explicit Batch(const Options& options) : queue_(HttpCreateQueue(0, options.timeout_seconds, 0)) {
    if (queue_ == INVALID_QUEUE) throw LibraryFailure(ExitCode::kFailure, "cannot make a queue");
  }
  ~Batch() {
    End();
    HttpDeleteQueue(queue_);
  }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  bool IsFull() const { return entries_.size() == kBatch; }

  void Add(Entry& entry) {
    entry.download.Prepare();
    const DWORD id =
        HttpAddQueuedFileA(queue_, HTTP_QUEUE_DOWNLOAD, entry.download.LocalName().c_str(),
                           entry.download.RequestedUrl().c_str(), 0, 0);
    if (id == 0) throw LibraryFailure(ExitCode::kFailure, "cannot queue the file");
    entries_[id] = &entry;
  }

  // What became of a file; nothing when it is to be fetched by the command itself.
  struct Ended {
    Entry* entry;
    std::optional<Outcome> outcome;
  };

  // Fetches all of them.
  std::vector<Ended> Run() {
    std::vector<Ended> ended;
    if (entries_.empty()) return ended;
    const auto self = reinterpret_cast<DWORD_PTR>(this);
    if (!HttpStartQueue(queue_, 0, 0, OnEvent, self)) {
      throw LibraryFailure(ExitCode::kFailure, "cannot start the queue");
    }
    while (!HttpWaitForQueue(queue_, kDrawIntervalMs, nullptr, nullptr) && IsRunning()) {
      if (Interrupted()) StopWorking();
      Draw();
    }
    progress_.Finish();
    for (auto& [id, entry] : entries_) {
      HTTPQUEUEDFILEA file{};
      HttpGetQueuedFileA(queue_, id, &file);
      const bool is_over = file.dwFileState != HTTP_QUEUE_FILE_WAITING;
      const DWORD error = is_over ? file.dwError : QV_ERROR_OPERATION_CANCELED;
      BackgroundDownload& download = entry->download;
      ended.push_back(
          {entry, download.Conclude(error, file.qwBytesCopied, download.AnnouncedLength())});
    }
    return ended;
  }

 private:
  static void CALLBACK OnEvent(HCLIENT client, UINT event, DWORD, DWORD_PTR self) {
    if (event == HTTP_EVENT_FILEOPEN) reinterpret_cast<Batch*>(self)->OnFileOpen(client);
  }

  void OnFileOpen(HCLIENT client) {
    const DWORD id = Status().dwCurrentFile;
    const auto found = entries_.find(id);
    const bool goes_on =
        found != entries_.end() && found->second->download.OnFileOpen(client, true);
    if (!goes_on) HttpCancel(client);
  }

  HTTPQUEUESTATUS Status() const {
    HTTPQUEUESTATUS status{};
    HttpGetQueueStatus(queue_, &status);
    return status;
  }

  bool IsRunning() const { return Status().dwThreadId != 0; }

  // A file that is cancelled between two transfers would escape: so it is asked for again and
  // again, until the worker has ended.
  void StopWorking() const {
    HttpStopQueue(queue_);
    HttpCancelQueuedFile(queue_, 0);
  }

  void End() const {
    if (!IsRunning()) return;
    while (IsRunning()) {
      StopWorking();
      HttpWaitForQueue(queue_, kDrawIntervalMs, nullptr, nullptr);
    }
  }

  void Draw() {
    const DWORD id = Status().dwCurrentFile;
    const HCLIENT client = HttpGetQueueClient(queue_);
    HTTPTRANSFERSTATUSEX transfer{};
    if (entries_.find(id) == entries_.end() || client == INVALID_CLIENT ||
        HttpGetTransferStatusEx(client, &transfer) == HTTP_ERROR) {
      return;
    }
    if (id != shown_) progress_.Start(0, entries_.at(id)->download.ShownName());
    shown_ = id;
    progress_.Update(transfer.dwBytesCopied, transfer.dwBytesTotal);
  }

  HQUEUE queue_;
  std::map<DWORD, Entry*> entries_;  // by id; not changed while the queue runs
  Progress progress_{true};
  DWORD shown_ = 0;
};

class QueueRun {
 public:
  explicit QueueRun(const Options& options) : options_(options) {
    for (const QueueEntry& listed : ReadQueueList(options.list_file)) {
      entries_.emplace_back(options, listed, options.folder);
    }
    MakeTargetFolder(options.folder);
  }

  ExitCode Run() {
    for (auto next = entries_.begin(); next != entries_.end();) {
      Batch batch(options_);
      for (; next != entries_.end() && !batch.IsFull(); ++next) Begin(*next, batch);
      const std::vector<Batch::Ended> all_ended = batch.Run();
      for (const auto& [entry, outcome] : all_ended) {
        CheckInterrupted();
        Set(*entry, outcome ? *outcome : entry->download.FetchHere(false), "fetched");
      }
      CheckInterrupted();
    }
    PrintTable();
    return code_;
  }

 private:
  // Leaves what the library's queue can fetch to it, and does the rest at once.
  void Begin(Entry& entry, Batch& batch) {
    CheckInterrupted();
    try {
      std::error_code error;
      if (fs::exists(entry.download.target())) {
        entry.result = "there already";
        entry.outcome.bytes = fs::file_size(entry.download.target(), error);
      } else if (entry.download.HasResumablePart()) {
        Set(entry, entry.download.FetchHere(true), "completed");
      } else if (!SuitsQueue(entry.download.url(), options_)) {
        Set(entry, entry.download.FetchHere(false), "fetched");
      } else {
        batch.Add(entry);
      }
    } catch (const Failure& failure) {
      Set(entry, {failure.code(), entry.download.ShownUrl() + ": " + failure.what(), 0}, "");
    }
  }

  void Set(Entry& entry, const Outcome& outcome, const char* success) {
    CheckInterrupted();
    entry.outcome = outcome;
    entry.result = outcome.code == ExitCode::kSuccess ? success : "failed";
    if (outcome.code == ExitCode::kSuccess) return;
    std::cerr << "qvhttp: " << outcome.sentence << '\n';
    if (code_ == ExitCode::kSuccess) code_ = outcome.code;
  }

  void PrintTable() const {
    std::size_t widest = 0;
    for (const Entry& entry : entries_)
      widest = std::max(widest, entry.download.ShownName().size());
    for (const Entry& entry : entries_) {
      std::string name = entry.download.ShownName();
      name.resize(widest, ' ');
      std::array<char, 32> size{};
      std::snprintf(size.data(), size.size(), "%12llu",
                    static_cast<unsigned long long>(entry.outcome.bytes));
      std::cout << name << "  " << size.data() << "  " << entry.result << '\n';
    }
    if (!std::cout.flush()) throw Failure(ExitCode::kFailure, "cannot write the output");
  }

  const Options& options_;
  std::deque<Entry> entries_;
  const LibraryScope library_;
  ExitCode code_ = ExitCode::kSuccess;  // of the first one that failed
};

}  // namespace

ExitCode RunQueue(const Options& options) { return QueueRun(options).Run(); }
