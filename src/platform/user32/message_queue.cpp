#include "user32/message_queue.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <new>
#include <utility>

#include "kernel32/errno_map.h"
#include "kernel32/thread_object.h"
#include "platform/checkpoint.h"
#include "platform/user32.h"
#include "user32/windows.h"
#include "ws2_32/async_select.h"

namespace platform::user32 {
namespace {

constexpr std::size_t kMostPosted = 10000;

// How long a thread that can be suspended or terminated waits before it looks at the checkpoint.
constexpr int kSliceMilliseconds = 100;
constexpr int kForever = -1;

// The queue of a thread, closed when the thread ends: by the destructor, or, where destructors do
// not run, by the hook.
struct CurrentQueue {
  std::shared_ptr<MessageQueue> queue;
  ~CurrentQueue() { End(); }
  void End();
};
thread_local CurrentQueue current;
thread_local bool ended = false;  // also after the destructor

void CurrentQueue::End() {
  ended = true;
  if (!queue) return;
  RemoveWindowsOf(*queue);
  queue->Close();
  queue.reset();
}

}  // namespace

std::shared_ptr<MessageQueue> MessageQueue::Current() noexcept {
  if (ended) {
    SetLastError(ERROR_INVALID_FUNCTION);
    return nullptr;
  }
  if (!current.queue) {
    try {
      current.queue = std::make_shared<MessageQueue>();
      SetThreadEndHook([] { current.End(); });
    } catch (const std::bad_alloc&) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
  }
  return current.queue;
}

MessageQueue::MessageQueue() : thread_id_(GetCurrentThreadId()) {}

MessageQueue::~MessageQueue() { Close(); }

DWORD MessageQueue::Post(const Window* window, UINT message, WPARAM wparam, LPARAM lparam,
                         Quota quota) {
  const HWND handle = window != nullptr ? window->handle : nullptr;
  const std::lock_guard lock(mutex_);
  if (closed_ || (window != nullptr && !window->open)) return ERROR_INVALID_WINDOW_HANDLE;
  if (quota == Quota::kApplies && posted_.size() >= kMostPosted) return ERROR_NOT_ENOUGH_QUOTA;
  posted_.push_back({handle, message, wparam, lparam, GetTickCount(), {0, 0}});
  Signal();
  return ERROR_SUCCESS;
}

void MessageQueue::PostQuit(int exit_code) {
  const std::lock_guard lock(mutex_);
  quit_ = true;
  exit_code_ = exit_code;
  Signal();
}

bool MessageQueue::Deliver(const std::shared_ptr<SentMessage>& sent) {
  const std::lock_guard lock(mutex_);
  if (closed_ || !sent->window->open) return false;
  received_.push_back(sent);
  Signal();
  changed_.notify_all();
  return true;
}

void MessageQueue::Answer(SentMessage& sent, SentMessage::State state, LRESULT result) {
  const std::lock_guard lock(mutex_);
  sent.state = state;
  sent.result = result;
  changed_.notify_all();
}

void MessageQueue::AwaitAnswer(const SentMessage& sent) {
  const auto happened = [&] {
    return sent.state != SentMessage::State::kUnderWay || !received_.empty();
  };
  for (;;) {
    {
      std::unique_lock lock(mutex_);
      if (CurrentThreadObject() == nullptr) {
        changed_.wait(lock, happened);
      } else {
        changed_.wait_for(lock, kCheckpointInterval, happened);
      }
      if (sent.state != SentMessage::State::kUnderWay) return;
    }
    Checkpoint();
    while (ServeOne()) {
    }
  }
}

bool MessageQueue::ServeOne() {
  std::shared_ptr<SentMessage> sent;
  bool open = false;
  {
    const std::lock_guard lock(mutex_);
    if (received_.empty()) return false;
    serving_.push_back(received_.front());
    sent = std::move(received_.front());
    received_.pop_front();
    open = sent->window->open;
    UpdateSignal();
  }
  const LRESULT result = open ? sent->window->Call(sent->message, sent->wparam, sent->lparam) : 0;
  {
    const std::lock_guard lock(mutex_);
    serving_.pop_back();
  }
  using State = SentMessage::State;
  sent->sender->Answer(*sent, open ? State::kAnswered : State::kLost, result);
  return true;
}

bool MessageQueue::IsOpen(const Window& window) {
  const std::lock_guard lock(mutex_);
  return window.open;
}

// A message has come: waits look again even if others have been there before.
void MessageQueue::Signal() {
  ++arrivals_;
  if (event_ >= 0 && !signalled_) signalled_ = eventfd_write(event_, 1) == 0;
}

// The event descriptor is readable exactly while something is in the queue.
void MessageQueue::UpdateSignal() {
  const bool wanted = !posted_.empty() || !received_.empty() || quit_;
  if (event_ < 0 || wanted == signalled_) return;
  eventfd_t count = 0;
  if ((wanted ? eventfd_write(event_, 1) : eventfd_read(event_, &count)) == 0) signalled_ = wanted;
}

bool MessageQueue::MakeDescriptor() {
  const std::lock_guard lock(mutex_);
  if (epoll_ >= 0) return true;
  if (closed_) return Fail(ERROR_INVALID_WINDOW_HANDLE) != FALSE;
  const int event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  const int epoll = event >= 0 ? epoll_create1(EPOLL_CLOEXEC) : -1;
  epoll_event entry{};
  entry.events = EPOLLIN;
  entry.data.fd = event;
  if (epoll < 0 || epoll_ctl(epoll, EPOLL_CTL_ADD, event, &entry) != 0) {
    FailWithErrno(errno);
    if (epoll >= 0) close(epoll);
    if (event >= 0) close(event);
    return false;
  }
  event_ = event;
  epoll_ = epoll;
  UpdateSignal();
  return true;
}

bool MessageQueue::Watch(int socket, std::uint32_t events) {
  const std::lock_guard lock(mutex_);
  if (epoll_ < 0) return false;
  epoll_event entry{};
  entry.events = events;
  entry.data.fd = socket;
  if (events == 0) {
    if (epoll_ctl(epoll_, EPOLL_CTL_DEL, socket, nullptr) == 0) --watched_;
    return true;
  }
  if (epoll_ctl(epoll_, EPOLL_CTL_MOD, socket, &entry) == 0) return true;
  if (epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &entry) != 0) return false;
  ++watched_;
  return true;
}

void MessageQueue::GatherNotifications() {
  if (watched_ == 0) return;
  constexpr int kBatch = 64;
  std::array<epoll_event, kBatch> ready;
  const int count = epoll_wait(epoll_, ready.data(), kBatch, 0);
  for (int i = 0; i < count; ++i) {
    const int descriptor = ready[static_cast<std::size_t>(i)].data.fd;
    if (descriptor != event_) ws2_32::GatherNotifications(descriptor);
  }
}

void MessageQueue::Pump() {
  while (ServeOne()) {
  }
  GatherNotifications();
}

bool MessageQueue::Take(const MessageFilter& filter, bool remove, MSG& message) {
  const std::lock_guard lock(mutex_);
  seen_ = arrivals_;
  const auto found = std::find_if(posted_.begin(), posted_.end(),
                                  [&](const MSG& posted) { return filter.Matches(posted); });
  if (found != posted_.end()) {
    message = *found;
    if (remove) posted_.erase(found);
  } else if (quit_) {
    message = {nullptr, WM_QUIT, static_cast<WPARAM>(exit_code_), 0, GetTickCount(), {0, 0}};
    if (remove) quit_ = false;
  } else {
    return false;
  }
  UpdateSignal();
  return true;
}

bool MessageQueue::Wait() {
  if (!MakeDescriptor()) return false;
  {
    const std::lock_guard lock(mutex_);
    if (arrivals_ != seen_ || !received_.empty()) return true;
    // Messages that do not match must not end the wait; the next arrival signals again.
    eventfd_t count = 0;
    if (signalled_ && eventfd_read(event_, &count) == 0) signalled_ = false;
  }
  pollfd entry{epoll_, POLLIN, 0};
  poll(&entry, 1, CurrentThreadObject() == nullptr ? kForever : kSliceMilliseconds);
  const std::lock_guard lock(mutex_);
  UpdateSignal();
  return true;
}

void MessageQueue::CloseWindow(Window& window) {
  std::deque<std::shared_ptr<SentMessage>> lost;
  {
    const std::lock_guard lock(mutex_);
    window.open = false;
    std::erase_if(posted_, [&](const MSG& message) { return message.hwnd == window.handle; });
    const auto kept =
        std::stable_partition(received_.begin(), received_.end(),
                              [&](const auto& sent) { return sent->window.get() != &window; });
    std::move(kept, received_.end(), std::back_inserter(lost));
    received_.erase(kept, received_.end());
    UpdateSignal();
  }
  for (const auto& sent : lost) sent->sender->Answer(*sent, SentMessage::State::kLost, 0);
}

void MessageQueue::Close() {
  std::vector<std::shared_ptr<SentMessage>> lost;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    posted_.clear();
    lost.swap(serving_);
    if (epoll_ >= 0) close(epoll_);
    if (event_ >= 0) close(event_);
    epoll_ = event_ = -1;
  }
  for (const auto& sent : lost) sent->sender->Answer(*sent, SentMessage::State::kLost, 0);
}

}  // namespace platform::user32
