// WSAAsyncSelect: what happens to sockets becomes messages of a window. The pump of the window's
// thread looks after the sockets; there is no thread beside it.
//
// Each event is posted once, and again only after the call that enables it:
//   read           a receive, whatever its result
//   write          enabled from the start; then by a send that would block
//   connect        posted once per connect
//   close          posted once, when everything before the end has been received
//   out-of-band    as read
//   accept         never posted, as the module has no listening sockets
#ifndef PLATFORM_WS2_32_ASYNC_SELECT_H_
#define PLATFORM_WS2_32_ASYNC_SELECT_H_

#include "ws2_32/functions.h"
#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {

// Whether the socket has notifications, and so whether its calls are to be reported.
inline bool HasNotifications(Socket socket) {
  return StateOf(socket).notifies.load(std::memory_order_relaxed);
}

// Reports of the socket calls. A receive comes with the socket error that it had, or 0.
void ReceiveWasCalled(Socket socket, int socket_error) noexcept;
void SendWouldBlock(Socket socket) noexcept;
void ConnectHasBegun(Socket socket) noexcept;
void CancelNotifications(Socket socket) noexcept;

// For the pump: looks at a socket that it watches, and posts what is due.
void GatherNotifications(int descriptor) noexcept;
// For windows: the window is gone.
void CancelNotificationsOf(HWND window) noexcept;

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_ASYNC_SELECT_H_
