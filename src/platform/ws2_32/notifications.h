// The notifications that one socket posts to a window.
#ifndef PLATFORM_WS2_32_NOTIFICATIONS_H_
#define PLATFORM_WS2_32_NOTIFICATIONS_H_

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "user32/windows.h"
#include "ws2_32/functions.h"
#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {

// The notifications of one socket: which of them are enabled and what the pump watches for.
class Notifications {
 public:
  Notifications(Socket socket, std::shared_ptr<user32::Window> window, UINT message, LONG events)
      : socket_(socket),
        descriptor_(Descriptor(socket)),
        window_(std::move(window)),
        message_(message),
        events_(events),
        enabled_(events) {}

  const user32::Window& window() const { return *window_; }

  // Begins; the end of a connect is yet to be reported when the socket connects or `connecting`.
  // A socket error, or 0.
  int Start(bool connecting);
  // Ends, and drops what is still in the queue: whether the end of a connect was yet to be
  // reported.
  bool Cancel();

  void AfterReceive(int socket_error);
  void AfterBlockedSend();
  void AfterConnect();
  void Look();

 private:
  // What poll() and the count of unread bytes tell.
  struct Sight {
    bool readable, writable, urgent, ended, broken, unread;
  };

  bool TakeSight(Sight& sight);
  bool FinishConnect(short revents);
  void TakeError();
  void PostDue(const Sight& sight);
  void PostOnce(LONG event, int socket_error);
  bool IsEnabled(LONG event) const { return (enabled_ & event) != 0; }
  std::uint32_t EventsToWatch() const;
  bool Watch();

  const Socket socket_;
  const int descriptor_;
  const std::shared_ptr<user32::Window> window_;
  const UINT message_;
  const LONG events_;

  std::mutex mutex_;  // guards the rest
  LONG enabled_;
  bool cancelled_ = false;
  bool connecting_ = false;
  bool connected_ = false;
  bool stream_ = true;
  bool ended_ = false;     // nothing more comes; what came may be unread
  bool broken_ = false;    // nothing more can be sent either
  bool finished_ = false;  // ended, and everything was read
  int close_error_ = 0;
  std::uint32_t watched_ = 0;  // events of epoll
};

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_NOTIFICATIONS_H_
