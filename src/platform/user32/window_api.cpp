// Windows: creation, destruction and what belongs to one.
#include <utility>

#include "kernel32/errno_map.h"
#include "platform/kernel32.h"
#include "platform/user32.h"
#include "user32/windows.h"

namespace platform::user32 {
namespace {

HWND FailCreating(DWORD error) {
  SetLastError(error);
  return nullptr;
}

// Whether the window procedure accepts its new window; it may have destroyed it already.
template <typename Record>
bool Introduce(const Window& window, const Record& record) {
  const auto lparam = reinterpret_cast<LPARAM>(&record);
  if (window.Call(WM_NCCREATE, 0, lparam) == FALSE) return false;
  constexpr LRESULT kRefused = -1;
  return IsWindow(window.handle) && window.Call(WM_CREATE, 0, lparam) != kRefused &&
         IsWindow(window.handle);
}

template <typename Record>
HWND CreateFrom(const Record& record) {
  auto queue = MessageQueue::Current();
  if (!queue) return nullptr;
  auto window_class = AcquireClass(NameOfClass(record.lpszClass));
  if (!window_class) return FailCreating(ERROR_CANNOT_FIND_WND_CLASS);
  std::shared_ptr<Window> window;
  try {
    window = std::make_shared<Window>(std::move(queue), window_class);
    OpenWindow(window);
  } catch (const std::bad_alloc&) {
    ReleaseClass(*window_class);
    throw;
  }
  if (Introduce(*window, record)) return window->handle;
  DestroyWindow(window->handle);
  return nullptr;
}

template <typename Record>
HWND Create(const Record& record) noexcept {
  if (record.hwndParent != nullptr && record.hwndParent != HWND_MESSAGE) {
    return FailCreating(IsWindow(record.hwndParent) ? ERROR_NOT_SUPPORTED
                                                    : ERROR_INVALID_WINDOW_HANDLE);
  }
  if (record.hMenu != nullptr) return FailCreating(ERROR_INVALID_MENU_HANDLE);
  if (record.lpszClass == nullptr) return FailCreating(ERROR_CANNOT_FIND_WND_CLASS);
  try {
    return CreateFrom(record);
  } catch (const std::bad_alloc&) {
    return FailCreating(ERROR_NOT_ENOUGH_MEMORY);
  }
}

LONG_PTR FailIndex() {
  SetLastError(ERROR_INVALID_INDEX);
  return 0;
}

}  // namespace
}  // namespace platform::user32

using platform::Fail;
using platform::user32::FindWindow;
using platform::user32::MessageQueue;

HWND WINAPI CreateWindowExA(DWORD extended_style, LPCSTR class_name, LPCSTR name, DWORD style,
                            int x, int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter) noexcept {
  return platform::user32::Create(CREATESTRUCTA{parameter, instance, menu, parent, height, width, y,
                                                x, static_cast<LONG>(style), name, class_name,
                                                extended_style});
}

HWND WINAPI CreateWindowExW(DWORD extended_style, LPCWSTR class_name, LPCWSTR name, DWORD style,
                            int x, int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter) noexcept {
  return platform::user32::Create(CREATESTRUCTW{parameter, instance, menu, parent, height, width, y,
                                                x, static_cast<LONG>(style), name, class_name,
                                                extended_style});
}

BOOL WINAPI DestroyWindow(HWND handle) noexcept {
  const auto window = FindWindow(handle);
  if (!window) return FALSE;
  const auto queue = MessageQueue::Current();
  if (window->owner != queue) return Fail(ERROR_ACCESS_DENIED);
  if (window->destroying) return TRUE;  // its procedure calls again while it is under way
  window->destroying = true;
  if (queue->active_window == handle) queue->active_window = nullptr;
  window->Call(WM_DESTROY, 0, 0);
  window->Call(WM_NCDESTROY, 0, 0);
  if (queue->active_window == handle) queue->active_window = nullptr;
  platform::user32::RemoveWindow(*window);
  return TRUE;
}

BOOL WINAPI IsWindow(HWND handle) noexcept { return FindWindow(handle) != nullptr ? TRUE : FALSE; }

DWORD WINAPI GetWindowThreadProcessId(HWND handle, LPDWORD process_id) noexcept {
  const auto window = FindWindow(handle);
  if (!window) return 0;
  if (process_id != nullptr) *process_id = GetCurrentProcessId();
  return window->owner->thread_id();
}

HWND WINAPI GetActiveWindow(void) noexcept {
  const auto queue = MessageQueue::Current();
  return queue ? queue->active_window : nullptr;
}

HWND WINAPI SetActiveWindow(HWND handle) noexcept {
  const auto queue = MessageQueue::Current();
  if (!queue) return nullptr;
  if (handle != nullptr && !FindWindowOf(*queue, handle)) return nullptr;
  return std::exchange(queue->active_window, handle);
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index) noexcept {
  const auto window = FindWindow(handle);
  if (!window) return 0;
  switch (index) {
    case GWLP_WNDPROC:
      return reinterpret_cast<LONG_PTR>(window->procedure.load());
    case GWLP_USERDATA:
      return window->user_data;
    default:
      return platform::user32::FailIndex();
  }
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) noexcept {
  const auto window = FindWindow(handle);
  if (!window) return 0;
  switch (index) {
    case GWLP_WNDPROC:
      if (value == 0) return Fail(ERROR_INVALID_PARAMETER);
      return reinterpret_cast<LONG_PTR>(
          window->procedure.exchange(reinterpret_cast<WNDPROC>(value)));
    case GWLP_USERDATA:
      return window->user_data.exchange(value);
    default:
      return platform::user32::FailIndex();
  }
}

LONG_PTR WINAPI GetWindowLongPtrA(HWND handle, int index) noexcept {
  return GetWindowLongPtrW(handle, index);
}

LONG_PTR WINAPI SetWindowLongPtrA(HWND handle, int index, LONG_PTR value) noexcept {
  return SetWindowLongPtrW(handle, index, value);
}

LRESULT WINAPI CallWindowProcW(WNDPROC procedure, HWND handle, UINT message, WPARAM wparam,
                               LPARAM lparam) noexcept {
  return procedure != nullptr ? procedure(handle, message, wparam, lparam) : 0;
}

LRESULT WINAPI CallWindowProcA(WNDPROC procedure, HWND handle, UINT message, WPARAM wparam,
                               LPARAM lparam) noexcept {
  return CallWindowProcW(procedure, handle, message, wparam, lparam);
}

LRESULT WINAPI DefWindowProcW(HWND handle, UINT message, WPARAM, LPARAM) noexcept {
  if (message == WM_NCCREATE) return TRUE;
  if (message == WM_CLOSE) DestroyWindow(handle);
  return 0;
}

LRESULT WINAPI DefWindowProcA(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  return DefWindowProcW(handle, message, wparam, lparam);
}
