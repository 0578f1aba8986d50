// Sockets are file descriptors, closed on exec; no call raises SIGPIPE.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

#include "platform/checkpoint.h"
#include "ws2_32/addresses.h"
#include "ws2_32/errors.h"
#include "ws2_32/functions.h"
#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {
namespace {

int Descriptor(Socket socket) {
  constexpr auto kLargest = static_cast<Socket>(std::numeric_limits<int>::max());
  return socket <= kLargest ? static_cast<int>(socket) : -1;
}

// A blocking socket reports "would block" only when its time limit ran out.
int FailTransfer(int descriptor) {
  const int error = errno;
  if (error == EAGAIN) {
    Checkpoint();
    const int flags = fcntl(descriptor, F_GETFL);
    const bool blocking = flags >= 0 && (flags & O_NONBLOCK) == 0;
    return FailWith(blocking ? ::ws2::kErrorTimedOut : ::ws2::kErrorWouldBlock);
  }
  errno = error;
  return FailWithErrno();
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
  StateOf(socket).Reset();
  return socket;
}

int CloseSocket(Socket socket) noexcept {
  const int descriptor = Descriptor(socket);
  if (descriptor < 0) return FailWith(::ws2::kErrorNotSocket);
  StateOf(socket).Reset();
  // The descriptor is gone also after EINTR (close(2)).
  if (::close(descriptor) != 0 && errno != EINTR) return FailWithErrno();
  return 0;
}

int Connect(Socket socket, const SockAddr* address, int length) noexcept {
  Checkpoint();
  NativeAddress native;
  if (const int error = ToNative(address, length, native); error != 0) return FailWith(error);
  if (::connect(Descriptor(socket), native.get(), native.length) == 0) return 0;
  if (errno == EINPROGRESS || errno == EINTR) StateOf(socket).connecting = true;
  if (errno == EINTR) errno = EINPROGRESS;
  return FailWithErrno();
}

int Shutdown(Socket socket, int how) noexcept {
  if (how < ::ws2::kShutdownReceive || how > ::ws2::kShutdownBoth) {
    return FailWith(::ws2::kErrorInvalid);
  }
  return ::shutdown(Descriptor(socket), how) == 0 ? 0 : FailWithErrno();
}

int Receive(Socket socket, LPSTR buffer, int length, int flags) noexcept {
  Checkpoint();
  if (length < 0) return FailWith(::ws2::kErrorInvalid);
  if ((flags & ~::ws2::kFlagPeek) != 0) return FailWith(::ws2::kErrorOperationNotSupported);
  const int native_flags = flags != 0 ? MSG_PEEK : 0;
  while (true) {
    const ssize_t count =
        ::recv(Descriptor(socket), buffer, static_cast<size_t>(length), native_flags);
    if (count >= 0) return static_cast<int>(count);
    if (errno != EINTR) return FailTransfer(Descriptor(socket));
  }
}

int Send(Socket socket, LPCSTR buffer, int length, int flags) noexcept {
  Checkpoint();
  if (length < 0) return FailWith(::ws2::kErrorInvalid);
  if (flags != 0) return FailWith(::ws2::kErrorOperationNotSupported);
  while (true) {
    const ssize_t count =
        ::send(Descriptor(socket), buffer, static_cast<size_t>(length), MSG_NOSIGNAL);
    if (count >= 0) return static_cast<int>(count);
    if (errno != EINTR) return FailTransfer(Descriptor(socket));
  }
}

}  // namespace platform::ws2_32
