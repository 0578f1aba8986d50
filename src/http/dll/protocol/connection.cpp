#include "protocol/connection.h"

#include "transport/socket.h"

namespace qv {

void Connection::CloseSocket() {
  input.Clear();
  if (channel) channel->End();
  channel.reset();
  connected = false;
  if (socket == ws2::kInvalidSocket) return;
  qv::CloseSocket(socket);
  socket = ws2::kInvalidSocket;
}

}  // namespace qv
