// Lines of the trace log for socket calls. To be called while a trace is on, after the call; the
// thread's socket error stays as it is.
#ifndef QV_TRANSPORT_SOCKET_TRACE_H_
#define QV_TRANSPORT_SOCKET_TRACE_H_

#include "platform/ws2_32.h"
#include "transport/address.h"

namespace qv::trace {

void TraceClose(ws2::Socket socket, int result);
void TraceConnect(ws2::Socket socket, const SocketAddress& address, int result);
void TraceCreate(int family, int protocol, ws2::Socket result);
void TraceControl(ws2::Socket socket, LONG command, const ULONG* argument, int result);
void TracePendingError(ws2::Socket socket, const int* value, const int* length, int result);
void TraceSelect(const ws2::FdSet* read, const ws2::FdSet* write, const ws2::FdSet* except,
                 const ws2::TimeVal* timeout, int result);
void TraceLookUp(const char* name, const ws2::AddrInfo* hints, ws2::AddrInfo** addresses,
                 int result);
void TraceHostName(const char* name, int result);
void TraceNotifications(ws2::Socket socket, HWND window, UINT message, LONG events, int result);

// With a hex dump of the bytes that moved.
void TraceReceive(ws2::Socket socket, const void* bytes, int capacity, int result);
void TraceSend(ws2::Socket socket, const void* bytes, int count, int result);

}  // namespace qv::trace

#endif  // QV_TRANSPORT_SOCKET_TRACE_H_
