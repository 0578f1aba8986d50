// Windows and the handles that stand for them.
#ifndef PLATFORM_USER32_WINDOWS_H_
#define PLATFORM_USER32_WINDOWS_H_

#include <atomic>
#include <memory>

#include "user32/message_queue.h"
#include "user32/window_classes.h"

namespace platform::user32 {

struct Window {
  Window(std::shared_ptr<MessageQueue> queue, std::shared_ptr<WindowClass> kind);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  LRESULT Call(UINT message, WPARAM wparam, LPARAM lparam) const {
    return procedure.load()(handle, message, wparam, lparam);
  }

  const std::shared_ptr<MessageQueue> owner;
  const std::shared_ptr<WindowClass> window_class;
  HWND handle = nullptr;  // set before others can see the window
  std::atomic<WNDPROC> procedure;
  std::atomic<LONG_PTR> user_data{0};
  bool open = true;         // under the owner's lock
  bool destroying = false;  // of the owner's thread alone
};

// Gives a window its handle. Values are never used twice, so that a stale handle finds nothing.
void OpenWindow(const std::shared_ptr<Window>& window);

// The window behind a handle; otherwise null with ERROR_INVALID_WINDOW_HANDLE.
std::shared_ptr<Window> FindWindow(HWND handle) noexcept;
// The same for a window of the queue's thread.
std::shared_ptr<Window> FindWindowOf(const MessageQueue& queue, HWND handle) noexcept;

// Takes a window out of the world, without a word to its procedure.
void RemoveWindow(Window& window) noexcept;
void RemoveWindowsOf(const MessageQueue& queue) noexcept;

}  // namespace platform::user32

#endif  // PLATFORM_USER32_WINDOWS_H_
