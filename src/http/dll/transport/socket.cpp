#include "transport/socket.h"

#include "transport/socket_binding.h"
#include "transport/socket_trace.h"
#include "transport/trace.h"

namespace qv {
namespace {

constexpr int kSendBufferBytes = 131072;
constexpr int kReceiveBufferBytes = 262144;
constexpr int kTrue = 1;

template <typename Value>
int SetOption(ws2::Socket socket, int level, int option, Value value) {
  const ws2::SetSockOptFn set = Sockets().setsockopt;
  if (set == nullptr) return SocketsNotInitialized();
  return set(socket, level, option, reinterpret_cast<LPCSTR>(&value), sizeof(value));
}

int GetIntOption(ws2::Socket socket, int level, int option, int* value) {
  const ws2::GetSockOptFn get = Sockets().getsockopt;
  if (get == nullptr) return SocketsNotInitialized();
  int length = sizeof(*value);
  return get(socket, level, option, reinterpret_cast<LPSTR>(value), &length);
}

int ControlSocket(ws2::Socket socket, LONG command, ULONG* argument) {
  const ws2::IoctlSocketFn control = Sockets().ioctlsocket;
  if (control == nullptr) return SocketsNotInitialized();
  const int result = control(socket, command, argument);
  if (trace::Active()) trace::TraceControl(socket, command, argument, result);
  return result;
}

// Only the part of the record that counts is written.
void SetOnly(ws2::FdSet& set, ws2::Socket socket) {
  set.count = 1;
  set.sockets[0] = socket;
}

}  // namespace

ws2::Socket CreateStreamSocket(int family, int protocol) {
  const SocketApi& api = Sockets();
  if (api.socket == nullptr || api.setsockopt == nullptr) {
    SocketsNotInitialized();
    return ws2::kInvalidSocket;
  }
  if (family == ws2::kFamilyInet6 && !SystemKnowsIpv6()) {
    RestoreSocketError(ws2::kErrorAddressFamily);
    return ws2::kInvalidSocket;
  }
  const ws2::Socket socket = api.socket(family, ws2::kTypeStream, protocol);
  if (trace::Active()) trace::TraceCreate(family, protocol, socket);
  if (socket == ws2::kInvalidSocket) return socket;
  // A socket without these options is slower or less reachable, but works.
  if (family == ws2::kFamilyInet6) {
    SetOption(socket, ws2::kLevelIpv6, ws2::kOptionIpv6ProtectionLevel,
              ws2::kProtectionLevelUnrestricted);
  }
  SetOption(socket, ws2::kLevelSocket, ws2::kOptionSendBuffer, kSendBufferBytes);
  SetOption(socket, ws2::kLevelSocket, ws2::kOptionReceiveBuffer, kReceiveBufferBytes);
  return socket;
}

int ConnectSocket(ws2::Socket socket, const SocketAddress& address) {
  const ws2::ConnectFn connect = Sockets().connect;
  if (connect == nullptr) return SocketsNotInitialized();
  const int result = connect(socket, address.get(), address.length());
  if (trace::Active()) trace::TraceConnect(socket, address, result);
  return result;
}

int CloseSocket(ws2::Socket socket) {
  const ws2::CloseSocketFn close = Sockets().closesocket;
  if (close == nullptr) return SocketsNotInitialized();
  int listens = kTrue;
  if (GetIntOption(socket, ws2::kLevelSocket, ws2::kOptionAcceptConn, &listens) == 0 &&
      listens == 0) {
    ShutdownSocket(socket, ws2::kShutdownSend);
  }
  const int result = close(socket);
  if (trace::Active()) trace::TraceClose(socket, result);
  return result;
}

int ShutdownSocket(ws2::Socket socket, int how) {
  const ws2::ShutdownFn shutdown = Sockets().shutdown;
  if (shutdown == nullptr) return SocketsNotInitialized();
  return shutdown(socket, how);
}

int SetBlocking(ws2::Socket socket, bool blocking) {
  ULONG non_blocking = blocking ? 0 : 1;
  return ControlSocket(socket, ws2::kIoctlNonBlocking, &non_blocking);
}

int BytesReadable(ws2::Socket socket, DWORD* count) {
  return ControlSocket(socket, ws2::kIoctlBytesReadable, count);
}

int PendingError(ws2::Socket socket) {
  const ws2::GetSockOptFn get = Sockets().getsockopt;
  if (get == nullptr) return SocketsNotInitialized();
  int number = 0;
  int length = sizeof(number);
  const int result =
      get(socket, ws2::kLevelSocket, ws2::kOptionError, reinterpret_cast<LPSTR>(&number), &length);
  if (trace::Active()) trace::TracePendingError(socket, &number, &length, result);
  return result == 0 ? number : ws2::kSocketError;
}

int SetReceiveTimeout(ws2::Socket socket, DWORD milliseconds) {
  return SetOption(socket, ws2::kLevelSocket, ws2::kOptionReceiveTimeout, milliseconds);
}

int SetSendTimeout(ws2::Socket socket, DWORD milliseconds) {
  return SetOption(socket, ws2::kLevelSocket, ws2::kOptionSendTimeout, milliseconds);
}

int SetNoDelay(ws2::Socket socket) {
  return SetOption(socket, ws2::kLevelTcp, ws2::kOptionTcpNoDelay, kTrue);
}

ReadyResult WaitSocket(ws2::Socket socket, ReadyFor condition, const ws2::TimeVal* timeout) {
  const ws2::SelectFn select = Sockets().select;
  if (select == nullptr) return {SocketsNotInitialized(), false};
  ws2::FdSet watched;
  ws2::FdSet exceptions;
  SetOnly(watched, socket);
  SetOnly(exceptions, socket);
  ws2::FdSet* const read = condition == ReadyFor::kRead ? &watched : nullptr;
  ws2::FdSet* const write = condition == ReadyFor::kRead ? nullptr : &watched;
  ws2::FdSet* const failed = condition == ReadyFor::kConnect ? &exceptions : nullptr;
  const int count = select(static_cast<int>(ws2::kSetSize), read, write, failed, timeout);
  return {count, count > 0 && failed != nullptr && failed->count != 0};
}

int SendBytes(ws2::Socket socket, const void* bytes, int count) {
  const ws2::SendFn send = Sockets().send;
  if (send == nullptr) return SocketsNotInitialized();
  const int result = send(socket, static_cast<LPCSTR>(bytes), count, 0);
  if (trace::Active()) trace::TraceSend(socket, bytes, count, result);
  return result;
}

int ReceiveBytes(ws2::Socket socket, void* bytes, int capacity) {
  const ws2::RecvFn receive = Sockets().recv;
  if (receive == nullptr) return SocketsNotInitialized();
  const int result = receive(socket, static_cast<LPSTR>(bytes), capacity, 0);
  if (trace::Active()) trace::TraceReceive(socket, bytes, capacity, result);
  return result;
}

int RequestNotifications(ws2::Socket socket, HWND window, UINT message, LONG events) {
  const ws2::AsyncSelectFn request = Sockets().WSAAsyncSelect;
  if (request == nullptr) return SocketsNotInitialized();
  const int result = request(socket, window, message, events);
  if (trace::Active()) trace::TraceNotifications(socket, window, message, events, result);
  return result;
}

void TraceConnectFailure(ws2::Socket socket, const SocketAddress& address) {
  if (trace::Active()) trace::TraceConnect(socket, address, ws2::kSocketError);
}

void TraceWait(ReadyFor condition, const ws2::TimeVal* timeout, int result) {
  if (!trace::Active()) return;
  const ws2::FdSet set{};
  trace::TraceSelect(condition == ReadyFor::kRead ? &set : nullptr,
                     condition == ReadyFor::kRead ? nullptr : &set,
                     condition == ReadyFor::kConnect ? &set : nullptr, timeout, result);
}

}  // namespace qv
