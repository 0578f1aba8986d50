// Sockets are file descriptors, closed on exec; no call raises SIGPIPE.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/checkpoint.h"
#include "ws2_32/addresses.h"
#include "ws2_32/async_select.h"
#include "ws2_32/errors.h"
#include "ws2_32/functions.h"
#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {
namespace {

bool IsBlocking(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & O_NONBLOCK) == 0;
}

// A connect that is complete, failed or, on a non-blocking socket, under way: 0 or an errno value.
int StartConnect(int descriptor, const NativeAddress& address) {
  while (::connect(descriptor, address.get(), address.length) != 0) {
    const int error = errno;
    // A blocking call comes back early after a signal and when the time limit of sends is over,
    // which is no limit for connects. The next call goes on waiting.
    const bool early = error == EINTR || error == EINPROGRESS || error == EALREADY;
    if (!early || !IsBlocking(descriptor)) return error;
    Checkpoint();
  }
  return 0;
}

// The system has one error for all that can be wrong with the sending direction.
int BrokenPipeError(const SocketState& state) {
  if (state.send_shut) return ::ws2::kErrorShutdown;
  return state.phase == ConnectPhase::kNone ? ::ws2::kErrorNotConnected
                                            : ::ws2::kErrorConnectionReset;
}

int FailTransfer(Socket socket) {
  const int error = errno;
  Checkpoint();
  if (error == EPIPE) return FailWith(BrokenPipeError(StateOf(socket)));
  // A blocking socket reports "would block" only when its time limit ran out.
  if (error == EAGAIN && IsBlocking(Descriptor(socket))) return FailWith(::ws2::kErrorTimedOut);
  return FailWith(SocketErrorOf(error));
}

// The end of the data, or the reset that was found when somebody else looked for it.
int EndReceiving(Socket socket) {
  Checkpoint();
  SocketState& state = StateOf(socket);
  const ConnectPhase phase = state.phase;
  if (phase != ConnectPhase::kCompleted && phase != ConnectPhase::kConnected) return 0;
  const int error = state.error.exchange(0);
  return error == 0 ? 0 : FailWith(error);
}

int ReceiveOnce(Socket socket, LPSTR buffer, int length, int flags) {
  Checkpoint();
  if (length < 0) return FailWith(::ws2::kErrorInvalid);
  if ((flags & ~::ws2::kFlagPeek) != 0) return FailWith(::ws2::kErrorOperationNotSupported);
  const int native_flags = flags != 0 ? MSG_PEEK : 0;
  while (true) {
    const ssize_t count =
        ::recv(Descriptor(socket), buffer, static_cast<size_t>(length), native_flags);
    if (count > 0 || (count == 0 && length == 0)) return static_cast<int>(count);
    if (count == 0) return EndReceiving(socket);
    if (errno != EINTR) return FailTransfer(socket);
    Checkpoint();
  }
}

int SendOnce(Socket socket, LPCSTR buffer, int length, int flags) {
  Checkpoint();
  if (length < 0) return FailWith(::ws2::kErrorInvalid);
  if (flags != 0) return FailWith(::ws2::kErrorOperationNotSupported);
  while (true) {
    const ssize_t count =
        ::send(Descriptor(socket), buffer, static_cast<size_t>(length), MSG_NOSIGNAL);
    if (count >= 0) return static_cast<int>(count);
    if (errno != EINTR) return FailTransfer(socket);
    Checkpoint();
  }
}

}  // namespace

Socket CreateSocket(int family, int type, int protocol) noexcept {
  const int native_type = type == ::ws2::kTypeStream     ? SOCK_STREAM
                          : type == ::ws2::kTypeDatagram ? SOCK_DGRAM
                                                         : -1;
  const int native_family = NativeFamily(family);
  if (native_family <= 0 || native_type < 0) {
    FailWith(native_type < 0 ? ::ws2::kErrorSocketNotSupported : ::ws2::kErrorAddressFamily);
    return ::ws2::kInvalidSocket;
  }
  const int descriptor = ::socket(native_family, native_type | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) {
    FailWithErrno();
    return ::ws2::kInvalidSocket;
  }
  const auto socket = static_cast<Socket>(descriptor);
  SocketState& state = StateOf(socket);
  state.Reset();
  state.type = native_type;
  return socket;
}

int CloseSocket(Socket socket) noexcept {
  const int descriptor = Descriptor(socket);
  if (descriptor < 0) return FailWith(::ws2::kErrorNotSocket);
  if (HasNotifications(socket)) CancelNotifications(socket);
  StateOf(socket).Reset();
  // The descriptor is gone also after EINTR (close(2)).
  if (::close(descriptor) != 0 && errno != EINTR) return FailWithErrno();
  return 0;
}

int Connect(Socket socket, const SockAddr* address, int length) noexcept {
  Checkpoint();
  NativeAddress native;
  if (const int error = ToNative(address, length, native); error != 0) return FailWith(error);
  SocketState& state = StateOf(socket);
  const ConnectPhase before = state.phase;
  const int descriptor = Descriptor(socket);
  int error = StartConnect(descriptor, native);
  // The system answers the first call after a failed connect with this, whatever the address.
  if (error == ECONNABORTED && before == ConnectPhase::kFailed) {
    error = StartConnect(descriptor, native);
  }
  if (error == 0) {
    // The system lets the first call after a connect in the background succeed.
    const bool again = before == ConnectPhase::kPending || before == ConnectPhase::kCompleted;
    state.phase = again ? ConnectPhase::kCompleted : ConnectPhase::kConnected;
    if (!again && HasNotifications(socket)) ConnectHasBegun(socket);
    return again ? FailWith(::ws2::kErrorIsConnected) : 0;
  }
  if (error == EINPROGRESS) {
    state.error = 0;
    state.phase = ConnectPhase::kPending;
    if (HasNotifications(socket)) ConnectHasBegun(socket);
  } else if (before == ConnectPhase::kPending && error != EALREADY) {
    state.SettleConnect(error);
  }
  Checkpoint();
  return FailWith(SocketErrorOf(error));
}

int Shutdown(Socket socket, int how) noexcept {
  if (how < ::ws2::kShutdownReceive || how > ::ws2::kShutdownBoth) {
    return FailWith(::ws2::kErrorInvalid);
  }
  if (::shutdown(Descriptor(socket), how) != 0) return FailWithErrno();
  if (how != ::ws2::kShutdownReceive) StateOf(socket).send_shut = true;
  return 0;
}

int Receive(Socket socket, LPSTR buffer, int length, int flags) noexcept {
  const int count = ReceiveOnce(socket, buffer, length, flags);
  if (HasNotifications(socket)) ReceiveWasCalled(socket, count < 0 ? LastSocketError() : 0);
  return count;
}

int Send(Socket socket, LPCSTR buffer, int length, int flags) noexcept {
  const int count = SendOnce(socket, buffer, length, flags);
  if (count < 0 && HasNotifications(socket) && LastSocketError() == ::ws2::kErrorWouldBlock) {
    SendWouldBlock(socket);
  }
  return count;
}

}  // namespace platform::ws2_32
