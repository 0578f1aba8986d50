// Socket error numbers.
#ifndef PLATFORM_WS2_32_ERRORS_H_
#define PLATFORM_WS2_32_ERRORS_H_

namespace platform::ws2_32 {

// The socket error that an errno value stands for.
int SocketErrorOf(int errno_value);

// Sets the thread's socket error and returns -1.
int FailWith(int socket_error);

// The same for the current errno.
int FailWithErrno();

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_ERRORS_H_
