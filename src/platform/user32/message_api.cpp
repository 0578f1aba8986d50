// Messages: posting, sending, retrieving and dispatching.
#include <memory>
#include <new>

#include "kernel32/errno_map.h"
#include "platform/checkpoint.h"
#include "platform/kernel32.h"
#include "platform/user32.h"
#include "user32/windows.h"

namespace platform::user32 {
namespace {

BOOL Post(MessageQueue& queue, const Window* window, UINT message, WPARAM wparam,
          LPARAM lparam) noexcept {
  DWORD error = ERROR_NOT_ENOUGH_MEMORY;
  try {
    error = queue.Post(window, message, wparam, lparam, MessageQueue::Quota::kApplies);
  } catch (const std::bad_alloc&) {
    // Reported below.
  }
  return error == ERROR_SUCCESS ? TRUE : Fail(error);
}

// The answer of another thread's window.
LRESULT SendAcross(const std::shared_ptr<Window>& window, UINT message, WPARAM wparam,
                   LPARAM lparam) {
  const auto own = MessageQueue::Current();
  if (!own) return 0;
  auto sent = std::make_shared<SentMessage>();
  sent->window = window;
  sent->message = message;
  sent->wparam = wparam;
  sent->lparam = lparam;
  sent->sender = own;
  if (!window->owner->Deliver(sent)) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  own->AwaitAnswer(*sent);
  if (sent->state == SentMessage::State::kLost) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  return sent->result;
}

// Whether messages can be retrieved with these arguments.
bool CanRetrieve(const MessageQueue& queue, const MSG* message, HWND window) {
  if (message == nullptr) return Fail(ERROR_INVALID_PARAMETER) != FALSE;
  return window == nullptr || FindWindowOf(queue, window) != nullptr;
}

constexpr MessageFilter kEverything = {nullptr, 0, 0};

}  // namespace
}  // namespace platform::user32

using platform::Checkpoint;
using platform::Fail;
using platform::user32::CanRetrieve;
using platform::user32::FindWindow;
using platform::user32::FindWindowOf;
using platform::user32::kEverything;
using platform::user32::MessageQueue;

BOOL WINAPI PostMessageW(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  if (handle == nullptr) {
    const auto queue = MessageQueue::Current();
    return queue ? platform::user32::Post(*queue, nullptr, message, wparam, lparam) : FALSE;
  }
  const auto window = FindWindow(handle);
  if (!window) return FALSE;
  return platform::user32::Post(*window->owner, window.get(), message, wparam, lparam);
}

BOOL WINAPI PostMessageA(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  return PostMessageW(handle, message, wparam, lparam);
}

void WINAPI PostQuitMessage(int exit_code) noexcept {
  if (const auto queue = MessageQueue::Current()) queue->PostQuit(exit_code);
}

LRESULT WINAPI SendMessageW(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  Checkpoint();
  const auto window = FindWindow(handle);
  if (!window) return 0;
  if (window->owner->thread_id() == GetCurrentThreadId()) {
    return window->Call(message, wparam, lparam);
  }
  try {
    return platform::user32::SendAcross(window, message, wparam, lparam);
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

LRESULT WINAPI SendMessageA(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) noexcept {
  return SendMessageW(handle, message, wparam, lparam);
}

BOOL WINAPI PeekMessageW(LPMSG message, HWND handle, UINT first, UINT last, UINT flags) noexcept {
  Checkpoint();
  if ((flags & ~static_cast<UINT>(PM_REMOVE | PM_NOYIELD)) != 0) return Fail(ERROR_INVALID_FLAGS);
  const auto queue = MessageQueue::Current();
  if (!queue || !CanRetrieve(*queue, message, handle)) return FALSE;
  queue->Pump();
  return queue->Take({handle, first, last}, (flags & PM_REMOVE) != 0, *message) ? TRUE : FALSE;
}

BOOL WINAPI PeekMessageA(LPMSG message, HWND handle, UINT first, UINT last, UINT flags) noexcept {
  return PeekMessageW(message, handle, first, last, flags);
}

BOOL WINAPI GetMessageW(LPMSG message, HWND handle, UINT first, UINT last) noexcept {
  constexpr BOOL kFailed = -1;
  Checkpoint();
  const auto queue = MessageQueue::Current();
  // What is served meanwhile may destroy the window.
  while (queue && CanRetrieve(*queue, message, handle)) {
    queue->Pump();
    if (queue->Take({handle, first, last}, true, *message)) return message->message != WM_QUIT;
    if (!queue->Wait()) return kFailed;
    Checkpoint();
  }
  return kFailed;
}

BOOL WINAPI GetMessageA(LPMSG message, HWND handle, UINT first, UINT last) noexcept {
  return GetMessageW(message, handle, first, last);
}

BOOL WINAPI WaitMessage(void) noexcept {
  Checkpoint();
  const auto queue = MessageQueue::Current();
  if (!queue) return FALSE;
  for (;;) {
    queue->Pump();
    MSG message;
    if (queue->Take(kEverything, false, message)) return TRUE;
    if (!queue->Wait()) return FALSE;
    Checkpoint();
  }
}

BOOL WINAPI TranslateMessage(const MSG*) noexcept { return FALSE; }

LRESULT WINAPI DispatchMessageW(const MSG* message) noexcept {
  if (message == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const auto queue = MessageQueue::Current();
  if (!queue || message->hwnd == nullptr) return 0;
  const auto window = FindWindowOf(*queue, message->hwnd);
  return window ? window->Call(message->message, message->wParam, message->lParam) : 0;
}

LRESULT WINAPI DispatchMessageA(const MSG* message) noexcept { return DispatchMessageW(message); }

int QvMessageDescriptor(void) noexcept {
  const auto queue = MessageQueue::Current();
  return queue && queue->MakeDescriptor() ? queue->descriptor() : -1;
}
