#include "frame/session.h"

#include "events/notification_window.h"
#include "protocol/http1_engine.h"
#include "transport/socket.h"

namespace qv {

Session::Session() : engine(&Http1Engine::Get()) {}

Session::~Session() = default;

void Session::Close() {
  alive_.store(false, std::memory_order_release);
  EndEvents(*this);
  operation.cancel = true;
  // Closing a socket on which another thread waits would leave that thread with a number that the
  // next socket gets, so it is only woken here.
  if (operation.blocking) ShutdownSocket(connection.socket, ws2::kShutdownBoth);
}

}  // namespace qv
