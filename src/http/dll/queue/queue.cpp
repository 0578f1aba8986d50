#include "queue/queue.h"

#include <algorithm>
#include <utility>

#include "frame/session.h"

namespace qv {
namespace {

constexpr UINT kDefaultMaxFiles = 1000;

QueueDefaults DefaultsOf(UINT timeout, DWORD options) {
  const UINT seconds = timeout != 0 ? timeout : HTTP_TIMEOUT;
  return {options, std::clamp(seconds, kShortestTimeout, kLongestTimeout)};
}

}  // namespace

Queue::Queue(HQUEUE handle, UINT max_files, UINT timeout, DWORD options)
    : handle_(handle),
      max_files_(max_files != 0 ? max_files : kDefaultMaxFiles),
      defaults_(DefaultsOf(timeout, options)) {}

Error Queue::CheckAccepts() const {
  if (files_.size() >= max_files_) return QV_ERROR_TOO_MANY_FILES;
  return state_ == HTTP_QUEUE_RUNNING ? Error(QV_ERROR_QUEUE_RUNNING) : kNoError;
}

DWORD Queue::Append(QueuedFile file) {
  file.id = last_id_ + 1;
  files_.emplace_hint(files_.end(), file.id, std::move(file));
  ++waiting_;
  return ++last_id_;
}

const QueuedFile* Queue::Find(DWORD id) const {
  const auto found = files_.find(id);
  return found != files_.end() ? &found->second : nullptr;
}

QueuedFile* Queue::FindMutable(DWORD id) { return const_cast<QueuedFile*>(Find(id)); }

const QueuedFile* Queue::FindFirst(const FileFilter& filter) const {
  const auto found = std::find_if(files_.begin(), files_.end(),
                                  [&](const auto& entry) { return filter.Passes(entry.second); });
  return found != files_.end() ? &found->second : nullptr;
}

std::size_t Queue::Select(const FileFilter& filter, std::span<DWORD> ids) const {
  std::size_t count = 0;
  for (const auto& [id, file] : files_) {
    if (!filter.Passes(file)) continue;
    if (count < ids.size()) ids[count] = id;
    ++count;
  }
  return count;
}

void Queue::Rewind(const FileFilter& filter) {
  enumerated_ = 0;
  enumeration_ = filter;
  enumeration_.pattern = {};  // the text is the caller's
}

const QueuedFile* Queue::Advance() {
  for (auto next = files_.upper_bound(enumerated_); next != files_.end(); ++next) {
    enumerated_ = next->first;
    if (enumeration_.Passes(next->second)) return &next->second;
  }
  return nullptr;
}

// A stopped worker still books the file that it is at.
Error Queue::CheckIdle() const {
  if (files_.empty()) return QV_ERROR_QUEUE_EMPTY;
  const bool idle = state_ == HTTP_QUEUE_STOPPED && !HasWorker();
  return idle ? kNoError : Error(QV_ERROR_QUEUE_RUNNING);
}

void Queue::ForgetRun() {
  start_tick_ = 0;
  end_tick_ = 0;
  last_error_ = kNoError;
  current_file_ = 0;
  last_bytes_ = 0;
  total_bytes_ = 0;
}

Error Queue::Clear() {
  if (Error error = CheckIdle()) return error;
  files_.clear();
  last_id_ = 0;
  picked_ = 0;
  CountFiles();
  Rewind({});
  ForgetRun();
  return kNoError;
}

Error Queue::Reset(DWORD states) {
  if (Error error = CheckIdle()) return error;
  for (auto& [id, file] : files_) {
    if (states == 0 || (file.state & states) != 0) file.Reset();
  }
  CountFiles();
  ForgetRun();
  return kNoError;
}

void Queue::CountFiles() {
  waiting_ = completed_ = failed_ = 0;
  for (const auto& [id, file] : files_) {
    if (file.IsWaiting()) {
      ++waiting_;
    } else if (file.state == HTTP_QUEUE_FILE_COMPLETE) {
      ++completed_;
    } else {
      ++failed_;
    }
  }
}

Error Queue::Remove(DWORD id) {
  if (state_ == HTTP_QUEUE_RUNNING) return QV_ERROR_QUEUE_RUNNING;
  const auto found = files_.find(id);
  if (found == files_.end()) return QV_ERROR_FILE_NOT_QUEUED;
  if (found->second.transferring) return QV_ERROR_QUEUE_LOCKED;
  files_.erase(found);
  return kNoError;
}

Error Queue::Cancel(DWORD id) {
  QueuedFile* file = FindMutable(id);
  if (file == nullptr) return QV_ERROR_FILE_NOT_QUEUED;
  if (!file->IsWaiting()) return QV_ERROR_INVALID_QUEUE_FILE;
  file->state = kCanceledState;
  if (file->transferring) {  // the worker books it
    worker_->Interrupt();
    return kNoError;
  }
  --waiting_;
  ++failed_;
  return kNoError;
}

HTTPQUEUESTATUS Queue::Status() const {
  HTTPQUEUESTATUS status{};
  status.dwQueueState = state_;
  status.dwThreadId = worker_id_;
  status.dwTotalFiles = static_cast<DWORD>(files_.size());
  status.dwWaitingFiles = waiting_;
  status.dwCompletedFiles = completed_;
  status.dwFailedFiles = failed_;
  status.dwTimeElapsed = ElapsedTicks(start_tick_, end_tick_);
  status.dwCurrentFile = current_file_;
  status.dwLastError = last_error_.code();
  status.qwLastBytes = last_bytes_;
  status.qwTotalBytes = total_bytes_;
  return status;
}

}  // namespace qv
