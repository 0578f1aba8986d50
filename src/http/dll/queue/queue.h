// A transfer queue: its files in the order of their addition, and the run of its worker.
#ifndef QV_QUEUE_QUEUE_H_
#define QV_QUEUE_QUEUE_H_

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>

#include "frame/session_table.h"
#include "frame/worker_thread.h"
#include "queue/queued_file.h"

namespace qv {

// The worker of a run: its thread, and the session of its transfer, which the library lock guards.
struct QueueWorker {
  // Asks the transfer in progress to end.
  void Interrupt() const;

  WorkerThread thread;
  SessionRef session;      // from its creation on
  bool connected = false;  // so that the application may know of it
};

using QueueWorkerRef = std::shared_ptr<QueueWorker>;

// What a queue gives to files that are added without options and time-out of their own.
struct QueueDefaults {
  DWORD options = 0;
  UINT timeout = HTTP_TIMEOUT;  // seconds
};

// What the worker does next.
enum class NextStep {
  kEnd,  // the queue is stopped, deleted, or has no more files to transfer
  kWait,
  kTransfer,
};

// Every member function is called with the library lock held.
class Queue {
 public:
  // `max_files` and `timeout` of 0 stand for the defaults.
  Queue(HQUEUE handle, UINT max_files, UINT timeout, DWORD options);
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  HQUEUE handle() const { return handle_; }
  const QueueDefaults& defaults() const { return defaults_; }

  // ---- Files ----
  std::size_t size() const { return files_.size(); }

  // QV_ERROR_TOO_MANY_FILES, QV_ERROR_QUEUE_RUNNING.
  Error CheckAccepts() const;
  // Takes a file over, gives it the next id and returns that.
  DWORD Append(QueuedFile file);

  const QueuedFile* Find(DWORD id) const;
  const QueuedFile* FindFirst(const FileFilter& filter) const;

  // Counts the files that pass, and stores the ids of as many of them as there is room for.
  std::size_t Select(const FileFilter& filter, std::span<DWORD> ids) const;

  // One enumeration at a time: Rewind sets its filter, Advance gives the next file, NULL at the
  // end.
  void Rewind(const FileFilter& filter);
  const QueuedFile* Advance();

  // QV_ERROR_QUEUE_EMPTY, QV_ERROR_QUEUE_RUNNING; also while a worker finishes its last file.
  Error Clear();
  // Files whose state has one of the bits (all for 0) wait again. Errors as Clear.
  Error Reset(DWORD states);
  // QV_ERROR_QUEUE_RUNNING, QV_ERROR_FILE_NOT_QUEUED, QV_ERROR_QUEUE_LOCKED (being transferred).
  Error Remove(DWORD id);
  // Asks the transfer of the file in progress to end, or takes a waiting file out of the race.
  // QV_ERROR_FILE_NOT_QUEUED, QV_ERROR_INVALID_QUEUE_FILE.
  Error Cancel(DWORD id);

  // ---- Run ----
  DWORD state() const { return state_; }
  HTTPQUEUESTATUS Status() const;
  DWORD start_tick() const { return start_tick_; }
  DWORD end_tick() const { return end_tick_; }
  Error last_error() const { return last_error_; }
  DWORD current_file() const { return current_file_; }
  // A worker that HttpStopQueue stopped counts until it has finished its last file.
  bool HasWorker() const { return worker_id_ != 0; }
  DWORD worker_id() const { return worker_id_; }
  // That of the last run; it may have ended.
  const QueueWorkerRef& worker() const { return worker_; }
  // The session of the transfer in progress, NULL between transfers and while it connects.
  SessionRef ActiveSession() const;

  void BeginRun(QueueWorkerRef worker);
  // QV_ERROR_QUEUE_STOPPED.
  Error Stop();
  // QV_ERROR_QUEUE_EMPTY, QV_ERROR_QUEUE_STOPPED.
  Error ChangeState(DWORD running_or_suspended);

  // The queue is taken out of the table: its worker ends behind the file in progress and touches
  // nothing any more.
  void Abandon();
  bool Abandoned() const { return abandoned_; }

  // ---- For the worker ----
  // Picks the next file with this type (0 = any) and marks it as begun; `file` is a copy of it.
  NextStep Pick(DWORD type, QueuedFile& file);
  // The session of the transfer, once it is created; it is cancelled when the file or the queue was
  // given up before.
  void Adopt(SessionRef session);
  void SetConnected();
  void Withdraw();
  // Books the outcome of the file in progress.
  void Finish(DWORD id, Error error, uint64_t bytes);
  void EndRun();

 private:
  using Files = std::map<DWORD, QueuedFile>;  // by id, which is the order of addition

  QueuedFile* FindMutable(DWORD id);
  Error CheckIdle() const;
  void CountFiles();
  void ForgetRun();

  const HQUEUE handle_;
  const UINT max_files_;
  const QueueDefaults defaults_;

  Files files_;
  DWORD last_id_ = 0;
  DWORD waiting_ = 0;
  DWORD completed_ = 0;
  DWORD failed_ = 0;

  DWORD enumerated_ = 0;  // id of the last file that the enumeration gave
  FileFilter enumeration_;

  DWORD state_ = HTTP_QUEUE_STOPPED;
  bool abandoned_ = false;
  QueueWorkerRef worker_;
  DWORD worker_id_ = 0;
  DWORD picked_ = 0;  // id of the last file that the worker has passed
  DWORD current_file_ = 0;
  DWORD start_tick_ = 0;  // ms, of the current or last run
  DWORD end_tick_ = 0;
  Error last_error_;
  uint64_t last_bytes_ = 0;
  uint64_t total_bytes_ = 0;
};

using QueueRef = std::shared_ptr<Queue>;

}  // namespace qv

#endif  // QV_QUEUE_QUEUE_H_
