// What the module remembers about a socket beyond the system.
#ifndef PLATFORM_WS2_32_SOCKET_STATE_H_
#define PLATFORM_WS2_32_SOCKET_STATE_H_

#include <atomic>

#include "ws2_32/functions.h"

namespace platform::ws2_32 {

struct SocketState {
  std::atomic<bool> connecting{false};  // a connect runs in the background
  std::atomic<int> error{0};            // of a failed connect, until kOptionError is read
  std::atomic<int> send_buffer{0};      // sizes that were asked for and left to the system
  std::atomic<int> receive_buffer{0};

  void Reset() {
    connecting = false;
    error = 0;
    send_buffer = 0;
    receive_buffer = 0;
  }
};

// Needs no lock: a state belongs to its descriptor. Descriptors beyond the table share one state
// that remembers nothing useful.
SocketState& StateOf(Socket socket);

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_SOCKET_STATE_H_
