// The run of a queue: what its worker and those who control it change.
#include <utility>

#include "frame/session.h"
#include "protocol/transfer_counters.h"
#include "queue/queue.h"

namespace qv {

void QueueWorker::Interrupt() const {
  if (session) session->operation.cancel = true;
}

SessionRef Queue::ActiveSession() const {
  const bool active = worker_ && worker_->connected && worker_->session->Alive();
  return active ? worker_->session : nullptr;
}

void Queue::BeginRun(QueueWorkerRef worker) {
  worker_ = std::move(worker);
  worker_id_ = worker_->thread.id();
  state_ = HTTP_QUEUE_RUNNING;
  last_error_ = kNoError;
  start_tick_ = TransferCounters::Now();
  end_tick_ = 0;
  picked_ = 0;
}

Error Queue::Stop() {
  if (state_ == HTTP_QUEUE_STOPPED) return QV_ERROR_QUEUE_STOPPED;
  state_ = HTTP_QUEUE_STOPPED;
  return kNoError;
}

Error Queue::ChangeState(DWORD running_or_suspended) {
  if (files_.empty()) return QV_ERROR_QUEUE_EMPTY;
  if (state_ == HTTP_QUEUE_STOPPED) return QV_ERROR_QUEUE_STOPPED;
  state_ = running_or_suspended;
  return kNoError;
}

void Queue::Abandon() {
  abandoned_ = true;
  state_ = HTTP_QUEUE_STOPPED;
}

NextStep Queue::Pick(DWORD type, QueuedFile& file) {
  if (abandoned_ || state_ == HTTP_QUEUE_STOPPED) return NextStep::kEnd;
  if (state_ == HTTP_QUEUE_SUSPENDED) return NextStep::kWait;
  for (auto next = files_.upper_bound(picked_); next != files_.end(); ++next) {
    QueuedFile& candidate = next->second;
    picked_ = next->first;
    if (!candidate.IsWaiting() || (type != 0 && candidate.type != type)) continue;
    file = candidate;
    candidate.Reset();
    candidate.transferring = true;
    candidate.start_tick = TransferCounters::Now();
    current_file_ = candidate.id;
    return NextStep::kTransfer;
  }
  current_file_ = 0;
  return NextStep::kEnd;
}

void Queue::Adopt(SessionRef session) {
  worker_->session = std::move(session);
  const QueuedFile* file = Find(current_file_);
  if (abandoned_ || file == nullptr || file->IsCanceled()) worker_->Interrupt();
}

void Queue::SetConnected() { worker_->connected = true; }

void Queue::Withdraw() {
  worker_->connected = false;
  worker_->session = nullptr;
}

void Queue::Finish(DWORD id, Error error, uint64_t bytes) {
  QueuedFile* file = FindMutable(id);
  if (abandoned_ || file == nullptr) return;
  if (file->IsCanceled()) error = QV_ERROR_OPERATION_CANCELED;
  if (error) {
    const bool canceled = error == Error(QV_ERROR_OPERATION_CANCELED);
    file->state = canceled ? kCanceledState : DWORD{HTTP_QUEUE_FILE_FAILED};
    ++failed_;
  } else {
    file->state = HTTP_QUEUE_FILE_COMPLETE;
    file->bytes = bytes;
    ++completed_;
    if (file->MovesData()) {
      last_bytes_ = bytes;
      total_bytes_ += bytes;
    }
  }
  file->error = error;
  file->transferring = false;
  file->end_tick = TransferCounters::Now();
  --waiting_;
  last_error_ = error;
  current_file_ = 0;
}

void Queue::EndRun() {
  if (abandoned_) return;
  worker_id_ = 0;
  state_ = HTTP_QUEUE_STOPPED;
  picked_ = 0;
  if (end_tick_ == 0) end_tick_ = TransferCounters::Now();
}

}  // namespace qv
