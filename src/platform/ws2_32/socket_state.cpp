#include "ws2_32/socket_state.h"

#include <sys/socket.h>

#include <cerrno>
#include <limits>

#include "ws2_32/errors.h"

namespace platform::ws2_32 {
namespace {

// The system's own limit of descriptors is 2^20; memory that is never touched costs nothing.
constexpr Socket kTableSize = Socket{1} << 20;
SocketState states[kTableSize + 1];

}  // namespace

void SocketState::Reset() {
  phase = ConnectPhase::kNone;
  type = 0;
  send_shut = false;
  error = 0;
  send_buffer = 0;
  receive_buffer = 0;
  notifies = false;
}

void SocketState::SettleConnect(int errno_value) {
  // Only an established connection can be reset; a refused one fails with ECONNREFUSED.
  const bool established = errno_value == 0 || errno_value == ECONNRESET || errno_value == EPIPE;
  phase = established ? ConnectPhase::kCompleted : ConnectPhase::kFailed;
}

SocketState& StateOf(Socket socket) { return states[socket < kTableSize ? socket : kTableSize]; }

void SettlePendingConnect(Socket socket, bool failed) {
  SocketState& state = StateOf(socket);
  if (state.phase != ConnectPhase::kPending) return;
  int error = 0;
  if (failed) {
    socklen_t length = sizeof(error);
    getsockopt(Descriptor(socket), SOL_SOCKET, SO_ERROR, &error, &length);
    if (error != 0) state.error = SocketErrorOf(error);
  }
  state.SettleConnect(error);
}

int Descriptor(Socket socket) {
  constexpr auto kLargest = static_cast<Socket>(std::numeric_limits<int>::max());
  return socket <= kLargest ? static_cast<int>(socket) : -1;
}

}  // namespace platform::ws2_32
