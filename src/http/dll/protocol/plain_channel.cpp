#include "protocol/plain_channel.h"

#include "frame/session.h"
#include "protocol/socket_wait.h"
#include "transport/socket.h"

namespace qv {

Result<INT> PlainChannel::Receive(Session& session, void* buffer, INT size) {
  return RetryUntilMoved(session, HTTP_STATUS_READ,
                         [&] { return ReceiveBytes(session.connection.socket, buffer, size); });
}

Result<INT> PlainChannel::Send(Session& session, const void* data, INT size) {
  return RetryUntilMoved(session, HTTP_STATUS_WRITE,
                         [&] { return SendBytes(session.connection.socket, data, size); });
}

bool PlainChannel::HasInput(Session& session) {
  constexpr ws2::TimeVal kNoWait{0, 0};
  return WaitSocket(session.connection.socket, ReadyFor::kRead, &kNoWait).count > 0;
}

}  // namespace qv
