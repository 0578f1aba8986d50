#include "protocol/connector.h"

#include "events/notification_window.h"
#include "events/raise_event.h"
#include "frame/session.h"
#include "protocol/plain_channel.h"
#include "protocol/socket_wait.h"
#include "tls/secure_session.h"
#include "transport/address.h"
#include "transport/socket_binding.h"

namespace qv {
namespace {

constexpr DWORD kAllEvents = 0xFFFFFFFF;

// Waits until the connect has succeeded or failed.
Error AwaitConnect(Session& session, ReadyFor watch, const SocketAddress& target) {
  const INT timeout = session.settings.timeout;
  const WaitLimit limit(timeout != 0 ? timeout : HTTP_TIMEOUT);
  session.operation.blocking = true;
  while (true) {
    const ws2::TimeVal slice = limit.NextSlice();
    const ReadyResult ready = WaitSocket(session.connection.socket, watch, &slice);
    if (ready.count != 0 || limit.Passed()) TraceWait(watch, limit.whole(), ready.count);
    if (ready.count < 0) return SocketError();
    if (ready.exception) {
      const int pending = PendingError(session.connection.socket);
      RestoreSocketError(pending > 0 ? pending : ws2::kErrorRefused);
      TraceConnectFailure(session.connection.socket, target);
      return SocketError();
    }
    if (Error error = session.CheckAlive()) return error;
    if (ready.count > 0) break;
    if (session.operation.cancel) return QV_ERROR_OPERATION_CANCELED;
    if (limit.Passed()) return QV_ERROR_OPERATION_TIMEOUT;
  }
  session.operation.blocking = false;
  return kNoError;
}

// A connected socket blocks for one slice at a time, and small writes leave at once.
void ConfigureConnected(Session& session) {
  const ws2::Socket socket = session.connection.socket;
  if (!session.events.Notifies()) SetBlocking(socket, true);
  SetReceiveTimeout(socket, kWaitSliceMs);
  SetSendTimeout(socket, kWaitSliceMs);
  SetNoDelay(socket);
}

// Makes the connection usable once the socket is connected. A secure one has no channel until its
// handshake is done, so that nothing an event does meanwhile goes out in clear.
Error Establish(Session& session) {
  ConfigureConnected(session);
  Connection& connection = session.connection;
  connection.peer_closed = false;
  connection.used = false;
  if (session.Has(HTTP_OPTION_SECURE)) {
    const NotificationPause pause(session);
    if (Error error = StartSecurity(session)) return error;
  } else {
    connection.channel = std::make_shared<PlainChannel>();
  }
  connection.connected = true;
  return kNoError;
}

// Whether the socket is connected, or goes on connecting in the background.
Result<bool> Connect(Session& session, const ConnectManner& manner) {
  Connection& connection = session.connection;
  const bool direct = connection.proxy_type == kProxyNone;
  const InternetAddress& address = direct ? connection.remote : connection.proxy;
  Result<SocketAddress> target =
      BuildSocketAddress(address, direct ? connection.port : connection.proxy_port);
  if (!target) return target.error();
  connection.socket = CreateStreamSocket(address.family, manner.protocol);
  if (connection.socket == ws2::kInvalidSocket) return SocketError();
  SetBlocking(connection.socket, false);
  if (manner.window != nullptr) {
    if (Error error = EnableEvents(session, manner.window, manner.message, kAllEvents)) {
      return error;
    }
  }
  if (ConnectSocket(connection.socket, *target) != 0) {
    if (LastSocketError() != ws2::kErrorWouldBlock) return SocketError();
    if (manner.window == nullptr) {
      if (Error error = AwaitConnect(session, manner.watch, *target)) return error;
    }
  }
  return manner.window == nullptr;
}

// Releases a session whose connect failed, unless the application has closed it: its handle may
// belong to another session by then.
class ReleaseOnFailure {
 public:
  ReleaseOnFailure(Session& session, Error error) : session_(session), failed_(error) {}
  ~ReleaseOnFailure() {
    if (failed_ && session_.Alive()) SessionTable::Get().Release(session_.handle);
  }
  ReleaseOnFailure(const ReleaseOnFailure&) = delete;
  ReleaseOnFailure& operator=(const ReleaseOnFailure&) = delete;

 private:
  Session& session_;
  bool failed_;
};

}  // namespace

Error ConnectSocketOf(Session& session, const ConnectManner& manner) {
  OperationState& operation = session.operation;
  const INT previous_status = operation.status;
  operation.status = HTTP_STATUS_CONNECT;
  Result<bool> connected = Connect(session, manner);
  operation.blocking = false;
  if (!connected) return connected.error();
  if (!*connected) return kNoError;
  const bool first =
      previous_status == HTTP_STATUS_UNUSED || previous_status == HTTP_STATUS_CONNECT;
  operation.status = first ? HTTP_STATUS_IDLE : previous_status;
  return Establish(session);
}

void CompleteConnect(Session& session, Error error) {
  if (!error) error = Establish(session);
  if (!session.Alive()) return;
  if (!error) {
    session.operation.status = HTTP_STATUS_IDLE;
    RenewNotifications(session);  // the connect is over
  }
  const ReleaseOnFailure release(session, error);
  RaiseEvent(session, Event::kConnect, error);
}

Error ReconnectSession(Session& session, const ConnectManner& manner) {
  if (session.operation.blocking) return QV_ERROR_OPERATION_IN_PROGRESS;
  const NotificationPause pause(session);
  session.connection.CloseSocket();
  session.events.pending = 0;  // it was about that socket
  Error error = ConnectSocketOf(session, manner);
  const ReleaseOnFailure release(session, error);
  if (error) return error;
  session.response.pending = false;
  session.response.server_error = false;
  session.response.Reset();
  session.request.streaming = false;
  return kNoError;
}

}  // namespace qv
