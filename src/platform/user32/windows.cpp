#include "user32/windows.h"

#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/kernel32.h"
#include "platform/user32.h"
#include "ws2_32/async_select.h"

namespace platform::user32 {
namespace {

// Multiples of four, as those of other objects; none of them is a pseudo-handle.
constexpr UINT_PTR kHandleStep = 4;

struct WindowTable {
  std::mutex mutex;
  UINT_PTR last_handle = 0;
  std::unordered_map<UINT_PTR, std::shared_ptr<Window>> windows;
};

// Never destroyed: threads end during the static destruction of others.
WindowTable& Table() {
  static WindowTable& table = *new WindowTable;
  return table;
}

std::shared_ptr<Window> Look(HWND handle) {
  WindowTable& table = Table();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(reinterpret_cast<UINT_PTR>(handle));
  return found != table.windows.end() ? found->second : nullptr;
}

std::shared_ptr<Window> AnyWindowOf(const MessageQueue& queue) {
  WindowTable& table = Table();
  const std::lock_guard lock(table.mutex);
  for (const auto& [handle, window] : table.windows) {
    if (window->owner.get() == &queue) return window;
  }
  return nullptr;
}

}  // namespace

Window::Window(std::shared_ptr<MessageQueue> queue, std::shared_ptr<WindowClass> kind)
    : owner(std::move(queue)), window_class(std::move(kind)), procedure(window_class->procedure) {}

Window::~Window() = default;

void OpenWindow(const std::shared_ptr<Window>& window) {
  WindowTable& table = Table();
  const std::lock_guard lock(table.mutex);
  const UINT_PTR handle = table.last_handle + kHandleStep;
  window->handle = reinterpret_cast<HWND>(handle);
  table.windows.emplace(handle, window);
  table.last_handle = handle;
}

std::shared_ptr<Window> FindWindow(HWND handle) noexcept {
  auto window = Look(handle);
  if (!window) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return window;
}

std::shared_ptr<Window> FindWindowOf(const MessageQueue& queue, HWND handle) noexcept {
  auto window = Look(handle);
  if (window && window->owner.get() == &queue) return window;
  SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return nullptr;
}

void RemoveWindow(Window& window) noexcept {
  std::shared_ptr<Window> removed;  // released after the lock
  {
    WindowTable& table = Table();
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(reinterpret_cast<UINT_PTR>(window.handle));
    if (found == table.windows.end()) return;
    removed = std::move(found->second);
    table.windows.erase(found);
  }
  // First closed, then cancelled: notifications that begin in between find the window closed.
  removed->owner->CloseWindow(*removed);
  ws2_32::CancelNotificationsOf(removed->handle);
  ReleaseClass(*removed->window_class);
}

void RemoveWindowsOf(const MessageQueue& queue) noexcept {
  while (const auto window = AnyWindowOf(queue)) RemoveWindow(*window);
}

}  // namespace platform::user32
