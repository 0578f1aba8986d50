// The socket interface as programs find it: by name, in the module.
#ifndef PLATFORM_WS2_32_SOCKET_API_H_
#define PLATFORM_WS2_32_SOCKET_API_H_

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdint>
#include <stdexcept>

#include "platform/kernel32.h"
#include "platform/ws2_32.h"
#include "support/loopback.h"
#include "support/unique_fd.h"

namespace test {

template <typename Function>
Function Entry(LPCSTR module, LPCSTR name) {
  const FARPROC found = GetProcAddress(LoadLibraryA(module), name);
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(found));
}

template <typename Function>
Function Ws2(LPCSTR name) {
  return Entry<Function>("ws2_32.dll", name);
}

struct SocketApi {
  ws2::CloseSocketFn close = Ws2<ws2::CloseSocketFn>("closesocket");
  ws2::ConnectFn connect = Ws2<ws2::ConnectFn>("connect");
  ws2::GetSockOptFn get_option = Ws2<ws2::GetSockOptFn>("getsockopt");
  ws2::SetSockOptFn set_option = Ws2<ws2::SetSockOptFn>("setsockopt");
  ws2::IoctlSocketFn control = Ws2<ws2::IoctlSocketFn>("ioctlsocket");
  ws2::RecvFn receive = Ws2<ws2::RecvFn>("recv");
  ws2::SendFn send = Ws2<ws2::SendFn>("send");
  ws2::SelectFn select = Ws2<ws2::SelectFn>("select");
  ws2::ShutdownFn shutdown = Ws2<ws2::ShutdownFn>("shutdown");
  ws2::SocketFn create = Ws2<ws2::SocketFn>("socket");
  ws2::WsaGetLastErrorFn last_error = Ws2<ws2::WsaGetLastErrorFn>("WSAGetLastError");
  ws2::WsaSetLastErrorFn set_last_error = Ws2<ws2::WsaSetLastErrorFn>("WSASetLastError");
};

inline const SocketApi& Api() {
  static const SocketApi api;
  return api;
}

inline ws2::SockAddrIn LoopbackAddress(std::uint16_t port) {
  ws2::SockAddrIn address{};
  address.family = ws2::kFamilyInet;
  address.port = htons(port);
  address.address[0] = 127;
  address.address[3] = 1;
  return address;
}

// A stream socket of the module that closes itself.
class TestSocket {
 public:
  explicit TestSocket(int family = ws2::kFamilyInet)
      : socket_(Api().create(family, ws2::kTypeStream, ws2::kProtocolTcp)) {}
  ~TestSocket() { Api().close(socket_); }
  TestSocket(const TestSocket&) = delete;
  TestSocket& operator=(const TestSocket&) = delete;

  operator ws2::Socket() const { return socket_; }

  int Connect(std::uint16_t port) const {
    const ws2::SockAddrIn address = LoopbackAddress(port);
    return Api().connect(socket_, reinterpret_cast<const ws2::SockAddr*>(&address),
                         sizeof(address));
  }
  int Set(int level, int option, DWORD value) const {
    return Api().set_option(socket_, level, option, reinterpret_cast<LPCSTR>(&value),
                            sizeof(value));
  }
  // The value, or -1.
  int Get(int level, int option) const {
    int value = 0;
    int length = sizeof(value);
    return Api().get_option(socket_, level, option, reinterpret_cast<LPSTR>(&value), &length) == 0
               ? value
               : -1;
  }
  int PendingError() const { return Get(ws2::kLevelSocket, ws2::kOptionError); }
  void SetNonBlocking() const {
    ULONG on = 1;
    Api().control(socket_, ws2::kIoctlNonBlocking, &on);
  }

 private:
  const ws2::Socket socket_;
};

// A listening loopback port.
class Listener {
 public:
  explicit Listener(int backlog = 4) : socket_(BindLoopback()) { listen(socket_.get(), backlog); }
  std::uint16_t port() const { return PortOf(socket_); }
  UniqueFd Accept() const { return UniqueFd(accept(socket_.get(), nullptr, nullptr)); }

 private:
  UniqueFd socket_;
};

// A connected socket of the module, and the other end as a plain descriptor.
struct Pair {
  explicit Pair(bool non_blocking = false) {
    const Listener listener;
    if (client.Connect(listener.port()) != 0) throw std::runtime_error("cannot connect");
    server = listener.Accept();
    if (non_blocking) client.SetNonBlocking();
  }
  TestSocket client;
  UniqueFd server;
};

// Closes a descriptor with a reset.
inline void ResetConnection(UniqueFd& socket) {
  const linger abort{1, 0};
  setsockopt(socket.get(), SOL_SOCKET, SO_LINGER, &abort, sizeof(abort));
  socket.Reset();
}

// Which sets a select with one socket leaves it in.
struct Readiness {
  int count;
  bool read, write, except;
};

inline Readiness SelectAll(ws2::Socket socket, LONG milliseconds) {
  ws2::FdSet read{1, {socket}};
  ws2::FdSet write{1, {socket}};
  ws2::FdSet except{1, {socket}};
  const ws2::TimeVal timeout{milliseconds / 1000, milliseconds % 1000 * 1000};
  const int count = Api().select(0, &read, &write, &except, &timeout);
  return {count, read.count == 1, write.count == 1, except.count == 1};
}

}  // namespace test

#endif  // PLATFORM_WS2_32_SOCKET_API_H_
