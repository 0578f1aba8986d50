#include "ws2_32/errors.h"

#include <cerrno>

#include "platform/ws2_32.h"
#include "ws2_32/functions.h"

namespace platform::ws2_32 {
namespace {

struct ErrorPair {
  int errno_value;
  int socket_error;
};

constexpr ErrorPair kErrors[] = {
    {EINTR, ::ws2::kErrorInterrupted},
    {EBADF, ::ws2::kErrorNotSocket},
    {EACCES, ::ws2::kErrorAccess},
    {EPERM, ::ws2::kErrorAccess},
    {EFAULT, ::ws2::kErrorFault},
    {EINVAL, ::ws2::kErrorInvalid},
    {EMFILE, ::ws2::kErrorTooManyFiles},
    {ENFILE, ::ws2::kErrorTooManyFiles},
    {EAGAIN, ::ws2::kErrorWouldBlock},
    {EINPROGRESS, ::ws2::kErrorWouldBlock},
    {EALREADY, ::ws2::kErrorAlready},
    {ENOTSOCK, ::ws2::kErrorNotSocket},
    {EDESTADDRREQ, ::ws2::kErrorDestAddrRequired},
    {EMSGSIZE, ::ws2::kErrorMessageSize},
    {EPROTOTYPE, ::ws2::kErrorProtocolType},
    {ENOPROTOOPT, ::ws2::kErrorNoProtocolOption},
    {EPROTONOSUPPORT, ::ws2::kErrorProtocolNotSupported},
    {ESOCKTNOSUPPORT, ::ws2::kErrorSocketNotSupported},
    {EOPNOTSUPP, ::ws2::kErrorOperationNotSupported},
    {EPFNOSUPPORT, ::ws2::kErrorProtocolFamily},
    {EAFNOSUPPORT, ::ws2::kErrorAddressFamily},
    {EADDRINUSE, ::ws2::kErrorAddressInUse},
    {EADDRNOTAVAIL, ::ws2::kErrorAddressNotAvailable},
    {ENETDOWN, ::ws2::kErrorNetworkDown},
    {ENETUNREACH, ::ws2::kErrorNetworkUnreachable},
    {ENETRESET, ::ws2::kErrorNetworkReset},
    {ECONNABORTED, ::ws2::kErrorConnectionAborted},
    {ECONNRESET, ::ws2::kErrorConnectionReset},
    {EPIPE, ::ws2::kErrorConnectionReset},
    {ENOBUFS, ::ws2::kErrorNoBuffers},
    {ENOMEM, ::ws2::kErrorNoBuffers},
    {EISCONN, ::ws2::kErrorIsConnected},
    {ENOTCONN, ::ws2::kErrorNotConnected},
    {ESHUTDOWN, ::ws2::kErrorShutdown},
    {ETIMEDOUT, ::ws2::kErrorTimedOut},
    {ECONNREFUSED, ::ws2::kErrorRefused},
    {EHOSTDOWN, ::ws2::kErrorHostDown},
    {EHOSTUNREACH, ::ws2::kErrorHostUnreachable},
};

}  // namespace

int SocketErrorOf(int errno_value) {
  for (const ErrorPair& pair : kErrors) {
    if (pair.errno_value == errno_value) return pair.socket_error;
  }
  return ::ws2::kErrorInvalid;
}

int FailWith(int socket_error) {
  SetLastSocketError(socket_error);
  return ::ws2::kSocketError;
}

int FailWithErrno() { return FailWith(SocketErrorOf(errno)); }

int LastSocketError() noexcept { return static_cast<int>(GetLastError()); }

void SetLastSocketError(int number) noexcept { SetLastError(static_cast<DWORD>(number)); }

}  // namespace platform::ws2_32
