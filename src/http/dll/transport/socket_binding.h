// The socket interface and the name conversion, found by name when the library is initialized.
//
// An entry point that is missing makes the operations that need it fail with the platform error
// 10093; it never keeps the library from loading.
#ifndef QV_TRANSPORT_SOCKET_BINDING_H_
#define QV_TRANSPORT_SOCKET_BINDING_H_

#include "frame/error.h"
#include "platform/ws2_32.h"

namespace qv {

// The entry points of ws2_32.dll, by their names there; null when absent.
struct SocketApi {
  ws2::CloseSocketFn closesocket = nullptr;
  ws2::ConnectFn connect = nullptr;
  ws2::GetHostByNameFn gethostbyname = nullptr;
  ws2::GetHostNameFn gethostname = nullptr;
  ws2::GetServByNameFn getservbyname = nullptr;
  ws2::GetSockOptFn getsockopt = nullptr;
  ws2::HtonlFn htonl = nullptr;
  ws2::HtonsFn htons = nullptr;
  ws2::InetNtoaFn inet_ntoa = nullptr;
  ws2::IoctlSocketFn ioctlsocket = nullptr;
  ws2::RecvFn recv = nullptr;
  ws2::SelectFn select = nullptr;
  ws2::SendFn send = nullptr;
  ws2::SetSockOptFn setsockopt = nullptr;
  ws2::ShutdownFn shutdown = nullptr;
  ws2::SocketFn socket = nullptr;
  ws2::AsyncSelectFn WSAAsyncSelect = nullptr;
  ws2::CleanupFn WSACleanup = nullptr;
  ws2::EnumProtocolsFn WSAEnumProtocolsA = nullptr;
  ws2::WsaGetLastErrorFn WSAGetLastError = nullptr;
  ws2::WsaSetLastErrorFn WSASetLastError = nullptr;
  ws2::StartupFn WSAStartup = nullptr;
  // From version 5.1 of the operating system on, and all absent when getaddrinfo is.
  ws2::FreeAddrInfoFn freeaddrinfo = nullptr;
  ws2::GetAddrInfoFn getaddrinfo = nullptr;
  ws2::GetNameInfoFn getnameinfo = nullptr;
  ws2::InetNtopFn inet_ntop = nullptr;
  ws2::InetPtonFn inet_pton = nullptr;
};

// The entry points of normaliz.dll: both or none of them count.
struct NameConversionApi {
  normaliz::IdnToAsciiFn IdnToAscii = nullptr;
  normaliz::IdnToNameprepUnicodeFn IdnToNameprepUnicode = nullptr;
};

// Finds the entry points (once per process) and starts the socket interface once more. 0, or a
// platform error number, which is the thread's socket error too: 10091 when the interface is not to
// be had. The caller holds the library lock.
DWORD StartSockets();

// Undoes one start: 0, or -1 with the platform error 10093 when there is none to undo.
int StopSockets();

// What was found; nothing before the first StartSockets. Never changes afterwards, so that no lock
// is needed.
const SocketApi& Sockets();
const NameConversionApi& NameConversion();

// The calling thread's socket error. Without a socket interface it is the thread's platform error.
int LastSocketError();
void RestoreSocketError(int number);
inline Error SocketError() { return ErrorFromPlatform(static_cast<DWORD>(LastSocketError())); }

// The answer of a call whose entry point is absent: sets the platform error 10093, returns -1.
int SocketsNotInitialized();

// Whether names beyond ASCII can be converted.
bool IdnAvailable();

// Whether there is a provider of TCP over IPv6; if not, the reason is the socket error (10043: none
// is installed).
bool Ipv6Available();

// Whether the operating system can have sockets of the IPv6 family at all.
bool SystemKnowsIpv6();

}  // namespace qv

#endif  // QV_TRANSPORT_SOCKET_BINDING_H_
