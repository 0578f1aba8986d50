// Calls on stream sockets: one function for each call of the socket interface.
//
// A failure is -1 (all bits set for a socket) with the socket error set; an entry point that is
// absent is reported as the platform error 10093. No function takes a lock.
#ifndef QV_TRANSPORT_SOCKET_H_
#define QV_TRANSPORT_SOCKET_H_

#include "platform/ws2_32.h"
#include "transport/address.h"

namespace qv {

// A stream socket with the buffers that bulk transfers want. Protocol 0 takes the family's default.
ws2::Socket CreateStreamSocket(int family, int protocol);
int ConnectSocket(ws2::Socket socket, const SocketAddress& address);

// Ends the sending direction, unless the socket listens, and closes.
int CloseSocket(ws2::Socket socket);
int ShutdownSocket(ws2::Socket socket, int how);

int SetBlocking(ws2::Socket socket, bool blocking);
int BytesReadable(ws2::Socket socket, DWORD* count);

// The error of an operation that ended in the background (0: none), which reading clears.
int PendingError(ws2::Socket socket);

// Limits for a single blocking call; 0 means none.
int SetReceiveTimeout(ws2::Socket socket, DWORD milliseconds);
int SetSendTimeout(ws2::Socket socket, DWORD milliseconds);
int SetNoDelay(ws2::Socket socket);

enum class ReadyFor {
  kRead,
  kWrite,
  kConnect,  // writable, or the connect has failed (an exception)
};
struct ReadyResult {
  int count;       // 1 or more: ready; 0: the time is over; -1: failure
  bool exception;  // the connect has failed; PendingError tells why
};
// Waits for at most the time given, or without limit for NULL. It leaves no line in the trace log,
// since a wait of the library consists of several.
ReadyResult WaitSocket(ws2::Socket socket, ReadyFor condition, const ws2::TimeVal* timeout);

// The line of a connect that failed in the background, with the thread's socket error.
void TraceConnectFailure(ws2::Socket socket, const SocketAddress& address);

// The line of a whole wait.
void TraceWait(ReadyFor condition, const ws2::TimeVal* timeout, int result);

// Both return the bytes moved, which may be fewer than asked; 0 received means that the peer
// closed.
int SendBytes(ws2::Socket socket, const void* bytes, int count);
int ReceiveBytes(ws2::Socket socket, void* bytes, int capacity);

// Has the events (ws2::kFd...) of a socket posted to a window as messages, and makes the socket
// non-blocking; no events ends that.
int RequestNotifications(ws2::Socket socket, HWND window, UINT message, LONG events);

}  // namespace qv

#endif  // QV_TRANSPORT_SOCKET_H_
