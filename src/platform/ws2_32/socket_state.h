// What the module remembers about a socket beyond the system.
#ifndef PLATFORM_WS2_32_SOCKET_STATE_H_
#define PLATFORM_WS2_32_SOCKET_STATE_H_

#include <atomic>

#include "ws2_32/functions.h"

namespace platform::ws2_32 {

enum class ConnectPhase {
  kNone,       // never connected
  kPending,    // connecting in the background
  kCompleted,  // connected in the background
  kConnected,  // connected while the caller waited
  kFailed,     // the connect in the background failed
};

struct SocketState {
  std::atomic<ConnectPhase> phase{ConnectPhase::kNone};
  std::atomic<int> type{0};            // SOCK_*, 0 for a socket that was not made here
  std::atomic<bool> send_shut{false};  // this side has shut its sending direction down
  std::atomic<int> error{0};           // taken from the system, but not yet seen by the caller
  std::atomic<int> send_buffer{0};     // sizes in bytes that were asked for
  std::atomic<int> receive_buffer{0};
  std::atomic<bool> notifies{false};  // its events are posted to a window

  void Reset();

  // Settles a pending connect with the errno value that the system gave for the socket.
  void SettleConnect(int errno_value);
};

// Needs no lock: a state belongs to its descriptor. Descriptors beyond the table share one state
// that remembers nothing useful.
SocketState& StateOf(Socket socket);

// Settles a connect in the background that is over, unless another has done it. Reading the
// system's error clears it, so that it is kept for kOptionError or the next receive.
void SettlePendingConnect(Socket socket, bool failed);

// The descriptor of a socket, -1 for a number that cannot be one.
int Descriptor(Socket socket);

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_SOCKET_STATE_H_
