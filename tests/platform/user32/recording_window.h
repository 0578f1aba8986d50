// A message-only window that notes what it receives, and the loops of a thread that owns one.
#ifndef PLATFORM_USER32_RECORDING_WINDOW_H_
#define PLATFORM_USER32_RECORDING_WINDOW_H_

#include <poll.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/kernel32.h"
#include "platform/user32.h"
#include "support/wait_until.h"

namespace test {

inline constexpr UINT kMessage = WM_USER + 1;  // what tests send and post

struct Note {
  UINT message;
  WPARAM wparam;
  LPARAM lparam;
  bool operator==(const Note&) const = default;
};

class RecordingWindow {
 public:
  using Handler = std::function<LRESULT(const Note&)>;

  // The handler answers the messages from WM_USER on; without one the answer is 0.
  explicit RecordingWindow(Handler handler = {}) : handler_(std::move(handler)) {
    Register();
    handle_ =
        CreateWindowExW(0, kClassName, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, this);
  }
  ~RecordingWindow() { DestroyWindow(handle_); }
  RecordingWindow(const RecordingWindow&) = delete;
  RecordingWindow& operator=(const RecordingWindow&) = delete;

  operator HWND() const { return handle_; }

  std::vector<Note> notes() const {
    const std::lock_guard lock(mutex_);
    return notes_;
  }

  static constexpr const char16_t* kClassName = u"RecordingWindow";
  static LRESULT CALLBACK Procedure(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_NCCREATE) {
      const auto* record = reinterpret_cast<const CREATESTRUCTW*>(lparam);
      SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(record->lpCreateParams));
    }
    auto* self = reinterpret_cast<RecordingWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    const Note note{message, wparam, lparam};
    if (self != nullptr) {
      const std::lock_guard lock(self->mutex_);
      self->notes_.push_back(note);
    }
    if (self != nullptr && self->handler_ && message >= WM_USER) return self->handler_(note);
    return DefWindowProcW(handle, message, wparam, lparam);
  }

 private:
  static void Register() {
    WNDCLASSW record{};
    record.lpfnWndProc = Procedure;
    record.lpszClassName = kClassName;
    RegisterClassW(&record);  // fails from the second time on
  }

  const Handler handler_;
  mutable std::mutex mutex_;
  std::vector<Note> notes_;
  HWND handle_;
};

inline bool IsReadable(int descriptor, int milliseconds = 0) {
  pollfd entry{descriptor, POLLIN, 0};
  return poll(&entry, 1, milliseconds) == 1;
}

// Takes all messages out of the calling thread's queue.
inline std::vector<MSG> TakeAll() {
  std::vector<MSG> messages;
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) messages.push_back(message);
  return messages;
}

// Dispatches the calling thread's messages until a condition holds, as a program with a loop around
// poll() does it: it sleeps on the descriptor alone, and looks at the condition now and then.
template <typename Condition>
bool DispatchUntil(Condition condition) {
  constexpr int kSliceMilliseconds = 20;
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    if (condition()) return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
    IsReadable(QvMessageDescriptor(), kSliceMilliseconds);
  }
}

}  // namespace test

#endif  // PLATFORM_USER32_RECORDING_WINDOW_H_
