// The functions of the module, under names of their own: those of the export table are libc's, too.
#ifndef PLATFORM_WS2_32_FUNCTIONS_H_
#define PLATFORM_WS2_32_FUNCTIONS_H_

#include "platform/ws2_32.h"

namespace platform::ws2_32 {

using ::ws2::AddrInfo;
using ::ws2::FdSet;
using ::ws2::HostEnt;
using ::ws2::SockAddr;
using ::ws2::Socket;
using ::ws2::TimeVal;
using ::ws2::WsaData;

// errors.cpp
int LastSocketError() noexcept;
void SetLastSocketError(int number) noexcept;

// startup.cpp
int Startup(WORD version, WsaData* data) noexcept;
int Cleanup() noexcept;

// sockets.cpp
Socket CreateSocket(int family, int type, int protocol) noexcept;
int CloseSocket(Socket socket) noexcept;
int Connect(Socket socket, const SockAddr* address, int length) noexcept;
int Shutdown(Socket socket, int how) noexcept;
int Receive(Socket socket, LPSTR buffer, int length, int flags) noexcept;
int Send(Socket socket, LPCSTR buffer, int length, int flags) noexcept;

// options.cpp
int GetSocketOption(Socket socket, int level, int option, LPSTR value, int* length) noexcept;
int SetSocketOption(Socket socket, int level, int option, LPCSTR value, int length) noexcept;
int ControlSocket(Socket socket, LONG command, ULONG* argument) noexcept;

// select.cpp
int Select(int ignored, FdSet* read, FdSet* write, FdSet* except, const TimeVal* timeout) noexcept;

// async_select.cpp
int AsyncSelect(Socket socket, HWND window, UINT message, LONG events) noexcept;

// addresses.cpp
ULONG HostToNetworkLong(ULONG value) noexcept;
WORD HostToNetworkShort(WORD value) noexcept;
LPSTR AddressToDottedText(DWORD address) noexcept;
LPCSTR AddressToText(int family, LPCVOID address, LPSTR text, SIZE_T capacity) noexcept;
int AddressFromText(int family, LPCSTR text, LPVOID address) noexcept;

// names.cpp
int LookUp(LPCSTR node, LPCSTR service, const AddrInfo* hints, AddrInfo** result) noexcept;
void FreeLookUp(AddrInfo* list) noexcept;
int NameOf(const SockAddr* address, int length, LPSTR host, DWORD host_capacity, LPSTR service,
           DWORD service_capacity, int flags) noexcept;
HostEnt* HostByName(LPCSTR name) noexcept;
int HostName(LPSTR name, int capacity) noexcept;
LPVOID ServiceByName(LPCSTR name, LPCSTR protocol) noexcept;

// protocols.cpp
int EnumerateProtocols(int* protocols, LPVOID buffer, LPDWORD length) noexcept;

}  // namespace platform::ws2_32

#endif  // PLATFORM_WS2_32_FUNCTIONS_H_
