// ws2_32: the socket interface, with the platform's numbering of families, options, flags and
// errors. The functions are found by name (LoadLibraryA "ws2_32.dll", GetProcAddress), so that a
// program can run where one of them is missing; the types below are those of the entry points.
//
// The names live in a namespace of their own because some of them (select, timeval, sockaddr…) mean
// something else in libc.
#ifndef PLATFORM_WS2_32_H_
#define PLATFORM_WS2_32_H_

#include "qvplatform.h"

namespace ws2 {

using Socket = UINT_PTR;
inline constexpr Socket kInvalidSocket = ~static_cast<Socket>(0);
inline constexpr int kSocketError = -1;

// Address families, socket types, protocols.
inline constexpr int kFamilyUnspecified = 0;
inline constexpr int kFamilyInet = 2;
inline constexpr int kFamilyInet6 = 23;
inline constexpr int kTypeStream = 1;
inline constexpr int kTypeDatagram = 2;
inline constexpr int kProtocolDefault = 0;
inline constexpr int kProtocolTcp = 6;
inline constexpr int kProtocolUdp = 17;

// Option levels and options.
inline constexpr int kLevelSocket = 0xFFFF;
inline constexpr int kLevelTcp = 6;
inline constexpr int kLevelIpv6 = 41;
inline constexpr int kOptionAcceptConn = 0x0002;       // BOOL as int
inline constexpr int kOptionKeepAlive = 0x0008;        // BOOL as int
inline constexpr int kOptionSendBuffer = 0x1001;       // bytes
inline constexpr int kOptionReceiveBuffer = 0x1002;    // bytes
inline constexpr int kOptionSendTimeout = 0x1005;      // DWORD milliseconds, 0 = none
inline constexpr int kOptionReceiveTimeout = 0x1006;   // DWORD milliseconds, 0 = none
inline constexpr int kOptionError = 0x1007;            // int, a socket error number; read clears
inline constexpr int kOptionType = 0x1008;             // int
inline constexpr int kOptionTcpNoDelay = 0x0001;       // at kLevelTcp
inline constexpr int kOptionIpv6ProtectionLevel = 23;  // at kLevelIpv6
inline constexpr int kProtectionLevelUnrestricted = 10;

// ioctlsocket commands.
inline constexpr LONG kIoctlNonBlocking = static_cast<LONG>(0x8004667E);  // FIONBIO
inline constexpr LONG kIoctlBytesReadable = 0x4004667F;                   // FIONREAD

// shutdown directions and send/receive flags.
inline constexpr int kShutdownReceive = 0;
inline constexpr int kShutdownSend = 1;
inline constexpr int kShutdownBoth = 2;
inline constexpr int kFlagPeek = 0x2;

// getaddrinfo and getnameinfo flags.
inline constexpr int kAiPassive = 0x1;
inline constexpr int kAiCanonName = 0x2;
inline constexpr int kAiNumericHost = 0x4;
inline constexpr int kNiNumericHost = 0x2;

// Socket notifications (WSAAsyncSelect).
inline constexpr LONG kFdRead = 0x01;
inline constexpr LONG kFdWrite = 0x02;
inline constexpr LONG kFdOutOfBand = 0x04;
inline constexpr LONG kFdAccept = 0x08;
inline constexpr LONG kFdConnect = 0x10;
inline constexpr LONG kFdClose = 0x20;

// Error numbers.
inline constexpr int kErrorInterrupted = 10004;
inline constexpr int kErrorBadDescriptor = 10009;
inline constexpr int kErrorAccess = 10013;
inline constexpr int kErrorFault = 10014;
inline constexpr int kErrorInvalid = 10022;
inline constexpr int kErrorTooManyFiles = 10024;
inline constexpr int kErrorWouldBlock = 10035;
inline constexpr int kErrorInProgress = 10036;
inline constexpr int kErrorAlready = 10037;
inline constexpr int kErrorNotSocket = 10038;
inline constexpr int kErrorDestAddrRequired = 10039;
inline constexpr int kErrorMessageSize = 10040;
inline constexpr int kErrorProtocolType = 10041;
inline constexpr int kErrorNoProtocolOption = 10042;
inline constexpr int kErrorProtocolNotSupported = 10043;
inline constexpr int kErrorSocketNotSupported = 10044;
inline constexpr int kErrorOperationNotSupported = 10045;
inline constexpr int kErrorProtocolFamily = 10046;
inline constexpr int kErrorAddressFamily = 10047;
inline constexpr int kErrorAddressInUse = 10048;
inline constexpr int kErrorAddressNotAvailable = 10049;
inline constexpr int kErrorNetworkDown = 10050;
inline constexpr int kErrorNetworkUnreachable = 10051;
inline constexpr int kErrorNetworkReset = 10052;
inline constexpr int kErrorConnectionAborted = 10053;
inline constexpr int kErrorConnectionReset = 10054;
inline constexpr int kErrorNoBuffers = 10055;
inline constexpr int kErrorIsConnected = 10056;
inline constexpr int kErrorNotConnected = 10057;
inline constexpr int kErrorShutdown = 10058;
inline constexpr int kErrorTimedOut = 10060;
inline constexpr int kErrorRefused = 10061;
inline constexpr int kErrorHostDown = 10064;
inline constexpr int kErrorHostUnreachable = 10065;
inline constexpr int kErrorProcessLimit = 10067;
inline constexpr int kErrorSystemNotReady = 10091;
inline constexpr int kErrorVersionNotSupported = 10092;
inline constexpr int kErrorNotInitialised = 10093;
inline constexpr int kErrorHostNotFound = 11001;
inline constexpr int kErrorTryAgain = 11002;
inline constexpr int kErrorNoRecovery = 11003;
inline constexpr int kErrorNoData = 11004;

struct SockAddr {
  WORD family;
  CHAR data[14];
};
struct SockAddrIn {  // 16 bytes
  WORD family;
  WORD port;  // network byte order
  BYTE address[4];
  CHAR zero[8];
};
struct SockAddrIn6 {  // 28 bytes
  WORD family;
  WORD port;  // network byte order
  DWORD flow_info;
  BYTE address[16];
  DWORD scope_id;
};

struct TimeVal {
  LONG seconds;
  LONG microseconds;
};

inline constexpr UINT kSetSize = 64;
struct FdSet {
  UINT count;
  Socket sockets[kSetSize];
};

struct WsaData {
  WORD version;
  WORD high_version;
  WORD max_sockets;
  WORD max_datagram;
  LPSTR vendor_info;
  CHAR description[257];
  CHAR system_status[129];
};

struct HostEnt {
  LPSTR name;
  LPSTR* aliases;
  short address_type;
  short address_length;
  LPSTR* addresses;
};

struct AddrInfo {
  int flags;
  int family;
  int type;
  int protocol;
  SIZE_T address_length;
  LPSTR canonical_name;
  SockAddr* address;
  AddrInfo* next;
};

// WSAPROTOCOL_INFOA: 372 bytes; only the fields that callers read have names.
struct ProtocolInfo {
  BYTE leading[76];
  int version;        // iVersion, offset 76
  int family;         // iAddressFamily
  int max_address;    // iMaxSockAddr
  int min_address;    // iMinSockAddr
  int type;           // iSocketType
  int protocol;       // iProtocol
  BYTE trailing[16];  // iProtocolMaxOffset … dwMessageSize, dwProviderReserved: offset 100
  CHAR name[256];
};
static_assert(sizeof(ProtocolInfo) == 372);

// Types of the entry points; the comment gives the name to look up.
using CloseSocketFn = int(WINAPI*)(Socket);                                  // closesocket
using ConnectFn = int(WINAPI*)(Socket, const SockAddr*, int);                // connect
using GetHostByNameFn = HostEnt*(WINAPI*)(LPCSTR);                           // gethostbyname
using GetHostNameFn = int(WINAPI*)(LPSTR, int);                              // gethostname
using GetServByNameFn = LPVOID(WINAPI*)(LPCSTR, LPCSTR);                     // getservbyname
using GetSockOptFn = int(WINAPI*)(Socket, int, int, LPSTR, int*);            // getsockopt
using HtonlFn = ULONG(WINAPI*)(ULONG);                                       // htonl
using HtonsFn = WORD(WINAPI*)(WORD);                                         // htons
using InetNtoaFn = LPSTR(WINAPI*)(DWORD);                                    // inet_ntoa
using IoctlSocketFn = int(WINAPI*)(Socket, LONG, ULONG*);                    // ioctlsocket
using RecvFn = int(WINAPI*)(Socket, LPSTR, int, int);                        // recv
using SelectFn = int(WINAPI*)(int, FdSet*, FdSet*, FdSet*, const TimeVal*);  // select
using SendFn = int(WINAPI*)(Socket, LPCSTR, int, int);                       // send
using SetSockOptFn = int(WINAPI*)(Socket, int, int, LPCSTR, int);            // setsockopt
using ShutdownFn = int(WINAPI*)(Socket, int);                                // shutdown
using SocketFn = Socket(WINAPI*)(int, int, int);                             // socket
using AsyncSelectFn = int(WINAPI*)(Socket, HWND, UINT, LONG);                // WSAAsyncSelect
using CleanupFn = int(WINAPI*)(void);                                        // WSACleanup
using EnumProtocolsFn = int(WINAPI*)(int*, LPVOID, LPDWORD);                 // WSAEnumProtocolsA
using WsaGetLastErrorFn = int(WINAPI*)(void);                                // WSAGetLastError
using WsaSetLastErrorFn = void(WINAPI*)(int);                                // WSASetLastError
using StartupFn = int(WINAPI*)(WORD, WsaData*);                              // WSAStartup
using FreeAddrInfoFn = void(WINAPI*)(AddrInfo*);                             // freeaddrinfo
using GetAddrInfoFn = int(WINAPI*)(LPCSTR, LPCSTR, const AddrInfo*, AddrInfo**);  // getaddrinfo
using GetNameInfoFn = int(WINAPI*)(const SockAddr*, int, LPSTR, DWORD, LPSTR, DWORD,
                                   int);                          // getnameinfo
using InetNtopFn = LPCSTR(WINAPI*)(int, LPCVOID, LPSTR, SIZE_T);  // inet_ntop
using InetPtonFn = int(WINAPI*)(int, LPCSTR, LPVOID);             // inet_pton

}  // namespace ws2

// normaliz.dll: flags, source, source length in characters (-1 = terminated), target, capacity;
// the length written (with the terminator when the source length is -1), 0 on failure.
namespace normaliz {
using IdnToAsciiFn = int(WINAPI*)(DWORD, LPCWSTR, int, LPWSTR, int);  // IdnToAscii
using IdnToNameprepUnicodeFn = int(WINAPI*)(DWORD, LPCWSTR, int, LPWSTR,
                                            int);  // IdnToNameprepUnicode
}  // namespace normaliz

#endif  // PLATFORM_WS2_32_H_
