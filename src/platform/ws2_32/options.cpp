#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "ws2_32/async_select.h"
#include "ws2_32/errors.h"
#include "ws2_32/functions.h"
#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {
namespace {

constexpr DWORD kMillisecondsPerSecond = 1000;
constexpr DWORD kMicrosecondsPerMillisecond = 1000;

// The largest size to which the system grows a buffer by itself.
int LargestAutomaticSize(const char* setting) {
  std::ifstream file(setting);
  int smallest = 0;
  int usual = 0;
  int largest = 0;
  file >> smallest >> usual >> largest;
  return file ? largest : 0;
}

int LargestAutomaticReceive() {
  static const int size = LargestAutomaticSize("/proc/sys/net/ipv4/tcp_rmem");
  return size;
}

int LargestAutomaticSend() {
  static const int size = LargestAutomaticSize("/proc/sys/net/ipv4/tcp_wmem");
  return size;
}

struct IntOption {
  int level;
  int option;
  int native_level;
  int native_option;
};

constexpr IntOption kIntOptions[] = {
    {::ws2::kLevelSocket, ::ws2::kOptionAcceptConn, SOL_SOCKET, SO_ACCEPTCONN},
    {::ws2::kLevelSocket, ::ws2::kOptionKeepAlive, SOL_SOCKET, SO_KEEPALIVE},
    {::ws2::kLevelSocket, ::ws2::kOptionSendBuffer, SOL_SOCKET, SO_SNDBUF},
    {::ws2::kLevelSocket, ::ws2::kOptionReceiveBuffer, SOL_SOCKET, SO_RCVBUF},
    {::ws2::kLevelSocket, ::ws2::kOptionType, SOL_SOCKET, SO_TYPE},
    {::ws2::kLevelTcp, ::ws2::kOptionTcpNoDelay, IPPROTO_TCP, TCP_NODELAY},
};

const IntOption* FindIntOption(int level, int option) {
  const auto* found = std::find_if(
      std::begin(kIntOptions), std::end(kIntOptions),
      [&](const IntOption& entry) { return entry.level == level && entry.option == option; });
  return found != std::end(kIntOptions) ? found : nullptr;
}

bool IsTimeLimit(int level, int option) {
  return level == ::ws2::kLevelSocket &&
         (option == ::ws2::kOptionSendTimeout || option == ::ws2::kOptionReceiveTimeout);
}

int NativeTimeLimit(int option) {
  return option == ::ws2::kOptionSendTimeout ? SO_SNDTIMEO : SO_RCVTIMEO;
}

int SetTimeLimit(Socket socket, int option, DWORD milliseconds) {
  timeval limit{};
  limit.tv_sec = milliseconds / kMillisecondsPerSecond;
  limit.tv_usec = milliseconds % kMillisecondsPerSecond * kMicrosecondsPerMillisecond;
  const int result =
      setsockopt(Descriptor(socket), SOL_SOCKET, NativeTimeLimit(option), &limit, sizeof(limit));
  return result == 0 ? 0 : FailWithErrno();
}

int GetTimeLimit(Socket socket, int option, DWORD* milliseconds) {
  timeval limit{};
  socklen_t length = sizeof(limit);
  if (getsockopt(Descriptor(socket), SOL_SOCKET, NativeTimeLimit(option), &limit, &length)) {
    return FailWithErrno();
  }
  *milliseconds = static_cast<DWORD>(limit.tv_sec) * kMillisecondsPerSecond +
                  static_cast<DWORD>(limit.tv_usec) / kMicrosecondsPerMillisecond;
  return 0;
}

bool IsBufferSize(int level, int option) {
  return level == ::ws2::kLevelSocket &&
         (option == ::ws2::kOptionSendBuffer || option == ::ws2::kOptionReceiveBuffer);
}

int TypeOf(int descriptor) {
  if (const int known = StateOf(static_cast<Socket>(descriptor)).type; known != 0) return known;
  int type = 0;
  socklen_t length = sizeof(type);
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 ? type : 0;
}

// Whether the system keeps the size up to date by itself and reaches the one asked for. A fixed
// size would end that, and with it hold transfers over long distances to that size per round trip.
//
// Sending, a queue of unsent data as long as the system lets it grow is no gain but lives outside
// the processor's caches (uploads to the same machine take twice the time), so that the size asked
// for limits this queue; what is under way to the receiver is not limited by it.
bool LeaveToSystem(int descriptor, int option, int bytes) {
  if (option == ::ws2::kOptionSendBuffer) {
    return bytes > 0 && bytes <= LargestAutomaticSend() &&
           setsockopt(descriptor, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &bytes, sizeof(bytes)) == 0;
  }
  return bytes <= LargestAutomaticReceive() && TypeOf(descriptor) == SOCK_STREAM;
}

int SetBufferSize(Socket socket, int option, int bytes) {
  const bool sending = option == ::ws2::kOptionSendBuffer;
  if (bytes < 0) return FailWith(::ws2::kErrorInvalid);
  if (!LeaveToSystem(Descriptor(socket), option, bytes) &&
      setsockopt(Descriptor(socket), SOL_SOCKET, sending ? SO_SNDBUF : SO_RCVBUF, &bytes,
                 sizeof(bytes)) != 0) {
    return FailWithErrno();
  }
  SocketState& state = StateOf(socket);
  (sending ? state.send_buffer : state.receive_buffer) = bytes;
  return 0;
}

// There is nothing to set: the system lets everybody reach an IPv6 socket.
int SetProtectionLevel(Socket socket) {
  int family = 0;
  socklen_t length = sizeof(family);
  if (getsockopt(Descriptor(socket), SOL_SOCKET, SO_DOMAIN, &family, &length) != 0) {
    return FailWithErrno();
  }
  return family == AF_INET6 ? 0 : FailWith(::ws2::kErrorNoProtocolOption);
}

// The size asked for is reported at least, also where the system has not grown to it yet.
int AtLeastAsked(Socket socket, int option, int bytes) {
  const SocketState& state = StateOf(socket);
  return std::max(bytes, option == ::ws2::kOptionSendBuffer ? state.send_buffer.load()
                                                            : state.receive_buffer.load());
}

// A socket error number, -1 on failure. Reading clears it, as on the system.
int TakeError(Socket socket) {
  SocketState& state = StateOf(socket);
  if (const int remembered = state.error.exchange(0); remembered != 0) return remembered;
  int error = 0;
  socklen_t length = sizeof(error);
  if (getsockopt(Descriptor(socket), SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
    return FailWithErrno();
  }
  if (error == 0) return 0;
  if (state.phase == ConnectPhase::kPending) state.SettleConnect(error);
  return SocketErrorOf(error);
}

}  // namespace

int GetSocketOption(Socket socket, int level, int option, LPSTR value, int* length) noexcept {
  int number = 0;
  if (value == nullptr || length == nullptr || *length < static_cast<int>(sizeof(number))) {
    return FailWith(::ws2::kErrorFault);
  }
  if (level == ::ws2::kLevelSocket && option == ::ws2::kOptionError) {
    number = TakeError(socket);
    if (number < 0) return number;
  } else if (IsTimeLimit(level, option)) {
    DWORD milliseconds = 0;
    if (GetTimeLimit(socket, option, &milliseconds) != 0) return ::ws2::kSocketError;
    number = static_cast<int>(milliseconds);
  } else if (level == ::ws2::kLevelSocket && option == ::ws2::kOptionAcceptConn &&
             StateOf(socket).type != 0) {
    number = 0;  // no function of this module makes a socket listen
  } else {
    const IntOption* found = FindIntOption(level, option);
    if (found == nullptr) return FailWith(::ws2::kErrorNoProtocolOption);
    socklen_t native_length = sizeof(number);
    if (getsockopt(Descriptor(socket), found->native_level, found->native_option, &number,
                   &native_length) != 0) {
      return FailWithErrno();
    }
    if (IsBufferSize(level, option)) number = AtLeastAsked(socket, option, number);
  }
  std::memcpy(value, &number, sizeof(number));
  *length = sizeof(number);
  return 0;
}

int SetSocketOption(Socket socket, int level, int option, LPCSTR value, int length) noexcept {
  int number = 0;
  if (value == nullptr || length != static_cast<int>(sizeof(number))) {
    return FailWith(::ws2::kErrorFault);
  }
  std::memcpy(&number, value, sizeof(number));
  if (IsTimeLimit(level, option)) return SetTimeLimit(socket, option, static_cast<DWORD>(number));
  if (IsBufferSize(level, option)) return SetBufferSize(socket, option, number);
  if (level == ::ws2::kLevelIpv6 && option == ::ws2::kOptionIpv6ProtectionLevel) {
    return SetProtectionLevel(socket);
  }
  const IntOption* found = FindIntOption(level, option);
  if (found == nullptr || found->native_option == SO_ACCEPTCONN) {
    return FailWith(::ws2::kErrorNoProtocolOption);
  }
  const int result = setsockopt(Descriptor(socket), found->native_level, found->native_option,
                                &number, sizeof(number));
  return result == 0 ? 0 : FailWithErrno();
}

int ControlSocket(Socket socket, LONG command, ULONG* argument) noexcept {
  if (argument == nullptr) return FailWith(::ws2::kErrorFault);
  int number = static_cast<int>(*argument);
  unsigned long native = 0;
  if (command == ::ws2::kIoctlNonBlocking) {
    // Waiting calls would keep the thread from its messages.
    if (number == 0 && HasNotifications(socket)) return FailWith(::ws2::kErrorInvalid);
    native = FIONBIO;
    number = number != 0 ? 1 : 0;
  } else if (command == ::ws2::kIoctlBytesReadable) {
    native = FIONREAD;
  } else {
    return FailWith(::ws2::kErrorInvalid);
  }
  if (ioctl(Descriptor(socket), native, &number) != 0) return FailWithErrno();
  if (command == ::ws2::kIoctlBytesReadable) *argument = static_cast<ULONG>(number);
  return 0;
}

}  // namespace platform::ws2_32
