// A message-only window of the test's thread that records the events which are sent to it.
#ifndef EVENTS_WINDOW_FIXTURE_H_
#define EVENTS_WINDOW_FIXTURE_H_

#include <functional>
#include <vector>

#include "support/wait_until.h"
#include "support_library/session_fixture.h"

namespace test {

inline constexpr UINT kEventMessage = WM_USER + 7;

struct ReceivedEvent {
  HCLIENT client;
  UINT event;
  UINT error;  // low 16 bits
};

class EventWindow {
 public:
  EventWindow() {
    static const ATOM window_class = Register();
    window_ = CreateWindowExA(0, reinterpret_cast<LPCSTR>(std::uintptr_t{window_class}), "", 0, 0,
                              0, 0, 0, HWND_MESSAGE, nullptr, nullptr, this);
  }
  ~EventWindow() {
    if (IsWindow(window_)) DestroyWindow(window_);
  }
  EventWindow(const EventWindow&) = delete;
  EventWindow& operator=(const EventWindow&) = delete;

  HWND handle() const { return window_; }
  WNDPROC procedure() const {
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrA(window_, GWLP_WNDPROC));
  }
  // Whether the library has put its own procedure in front of the window's.
  bool IsSubclassed() const { return procedure() != Procedure; }

  const std::vector<ReceivedEvent>& events() const { return events_; }
  // Messages from WM_USER that are no events.
  const std::vector<UINT>& others() const { return others_; }
  void Clear() { events_.clear(); }
  bool Has(UINT event) const {
    return std::any_of(events_.begin(), events_.end(),
                       [event](const ReceivedEvent& e) { return e.event == event; });
  }

  // Runs inside each event.
  std::function<void(const ReceivedEvent&)> on_event;

  // Serves the thread's queue until the condition holds.
  static bool PumpUntil(const std::function<bool()>& condition) {
    return WaitUntil([&] {
      Pump();
      return condition();
    });
  }
  bool PumpUntilEvent(UINT event) {
    return PumpUntil([&] { return Has(event); });
  }
  static void Pump() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
  }

 private:
  static ATOM Register() {
    WNDCLASSA description{};
    description.lpfnWndProc = Procedure;
    description.lpszClassName = "QvEventTest";
    return RegisterClassA(&description);
  }

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_NCCREATE) {
      const auto* arguments = reinterpret_cast<const CREATESTRUCTA*>(lparam);
      SetWindowLongPtrA(window, GWLP_USERDATA,
                        reinterpret_cast<LONG_PTR>(arguments->lpCreateParams));
      return TRUE;
    }
    auto* self = reinterpret_cast<EventWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (self == nullptr || message < WM_USER)
      return DefWindowProcA(window, message, wparam, lparam);
    if (message != kEventMessage) {
      self->others_.push_back(message);
      return 0;
    }
    const ReceivedEvent event{static_cast<HCLIENT>(wparam), static_cast<UINT>(lparam & 0xFFFF),
                              static_cast<UINT>(lparam >> 16 & 0xFFFF)};
    self->events_.push_back(event);
    if (self->on_event) self->on_event(event);
    return 0;
  }

  HWND window_ = nullptr;
  std::vector<ReceivedEvent> events_;
  std::vector<UINT> others_;
};

class EventTest : public SessionTest {
 protected:
  HCLIENT ConnectAsync(unsigned port, DWORD options = HTTP_OPTION_KEEPALIVE) {
    return HttpAsyncConnectA("127.0.0.1", port, 5, options, 0, nullptr, window_.handle(),
                             kEventMessage);
  }

  // A session whose connect in the background has finished.
  HCLIENT ConnectAsyncAndWait(unsigned port, DWORD options = HTTP_OPTION_KEEPALIVE) {
    const HCLIENT client = ConnectAsync(port, options);
    EXPECT_TRUE(window_.PumpUntilEvent(HTTP_EVENT_CONNECT));
    return client;
  }

  static bool Exists(HCLIENT client) { return HttpGetStatus(client) != HTTP_ERROR; }

  // Reads what is there without waiting; the error that ended it, 0 for the end of the body.
  static DWORD ReadAvailable(HCLIENT client, std::string& body) {
    BYTE buffer[1000];
    while (true) {
      const INT count = HttpRead(client, buffer, sizeof buffer);
      if (count == 0) return 0;
      if (count < 0) return HttpGetLastError();
      body.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(count));
    }
  }

  EventWindow window_;
};

}  // namespace test

#endif  // EVENTS_WINDOW_FIXTURE_H_
