// The message queue of a thread: what was posted, what other threads sent, and the descriptor that
// shows both.
#ifndef PLATFORM_USER32_MESSAGE_QUEUE_H_
#define PLATFORM_USER32_MESSAGE_QUEUE_H_

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "qvplatform.h"

namespace platform::user32 {

class MessageQueue;
struct Window;

// A message on its way from a waiting thread to the thread of its window.
struct SentMessage {
  enum class State { kUnderWay, kAnswered, kLost };

  std::shared_ptr<Window> window;
  UINT message;
  WPARAM wparam;
  LPARAM lparam;
  std::shared_ptr<MessageQueue> sender;
  State state = State::kUnderWay;  // this and the result: under the lock of the sender
  LRESULT result = 0;
};

// Which posted messages are looked for.
struct MessageFilter {
  HWND window;  // NULL for all
  UINT first;
  UINT last;  // both 0 for all

  bool Matches(const MSG& message) const {
    return (window == nullptr || message.hwnd == window) &&
           ((first == 0 && last == 0) || (message.message >= first && message.message <= last));
  }
};

class MessageQueue {
 public:
  // The calling thread's queue, made when it is first asked for. Null (last error set) when there
  // is no memory for it or the thread has ended it already.
  static std::shared_ptr<MessageQueue> Current() noexcept;

  MessageQueue();
  ~MessageQueue();
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  DWORD thread_id() const { return thread_id_; }

  // ---- Called by any thread ----

  enum class Quota { kApplies, kWaived };
  // Appends a message for a window, or for the thread when it is null. ERROR_SUCCESS or an error.
  DWORD Post(const Window* window, UINT message, WPARAM wparam, LPARAM lparam, Quota quota);

  // Hands over a sent message; false when its window is closed.
  bool Deliver(const std::shared_ptr<SentMessage>& sent);
  // Answers a message that this queue's thread has sent.
  void Answer(SentMessage& sent, SentMessage::State state, LRESULT result);

  // Takes away the posted messages with these three values and calls `dropped` with the fourth.
  template <typename Function>
  void Drop(HWND window, UINT message, WPARAM wparam, Function dropped);

  bool IsOpen(const Window& window);

  // Makes the descriptors; false with the last error set when that fails.
  bool MakeDescriptor();
  // Has the pump look after a socket when epoll reports one of the events for it; 0 ends that.
  bool Watch(int socket, std::uint32_t events);

  // ---- Called by the queue's thread ----

  // Serves what was sent and gathers the notifications of sockets.
  void Pump();
  // Finds the first message that matches; WM_QUIT comes after all others.
  bool Take(const MessageFilter& filter, bool remove, MSG& message);
  // Waits until something happens after the last Take(), or for a while; call Checkpoint() after
  // it. False with the last error set when there is no descriptor to wait with.
  bool Wait();
  // Waits for the answer to a message, and serves what is sent meanwhile.
  void AwaitAnswer(const SentMessage& sent);
  void PostQuit(int exit_code);
  int descriptor() const { return epoll_; }

  // Closes a window: nothing gets into the queue for it any more and what is there is dropped.
  void CloseWindow(Window& window);
  // The end of the thread, whose windows are closed.
  void Close();

  HWND active_window = nullptr;  // of the queue's thread alone

 private:
  bool ServeOne();
  void GatherNotifications();
  void Signal();
  void UpdateSignal();

  const DWORD thread_id_;
  std::mutex mutex_;
  std::condition_variable changed_;  // a message was sent or answered
  std::deque<MSG> posted_;
  std::deque<std::shared_ptr<SentMessage>> received_;
  std::vector<std::shared_ptr<SentMessage>> serving_;  // innermost last
  bool quit_ = false;
  int exit_code_ = 0;
  bool closed_ = false;
  std::uint64_t arrivals_ = 0;  // counts what came, for waits beside messages that do not match
  std::uint64_t seen_ = 0;      // arrivals at the last Take()
  bool signalled_ = false;      // whether the event descriptor is readable
  int event_ = -1;              // readable while a message waits
  int epoll_ = -1;              // the event descriptor and the watched sockets
  std::atomic<int> watched_{0};
};

template <typename Function>
void MessageQueue::Drop(HWND window, UINT message, WPARAM wparam, Function dropped) {
  const std::lock_guard lock(mutex_);
  for (auto it = posted_.begin(); it != posted_.end();) {
    if (it->hwnd == window && it->message == message && it->wParam == wparam) {
      dropped(it->lParam);
      it = posted_.erase(it);
    } else {
      ++it;
    }
  }
  UpdateSignal();
}

}  // namespace platform::user32

#endif  // PLATFORM_USER32_MESSAGE_QUEUE_H_
