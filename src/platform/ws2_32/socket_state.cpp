#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {
namespace {

// The system's own limit of descriptors is 2^20; memory that is never touched costs nothing.
constexpr Socket kTableSize = Socket{1} << 20;
SocketState states[kTableSize + 1];

}  // namespace

SocketState& StateOf(Socket socket) { return states[socket < kTableSize ? socket : kTableSize]; }

}  // namespace platform::ws2_32
