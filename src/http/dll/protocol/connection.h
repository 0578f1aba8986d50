// The connection of a session: where it leads, its socket and what was received from it.
#ifndef QV_PROTOCOL_CONNECTION_H_
#define QV_PROTOCOL_CONNECTION_H_

#include <atomic>
#include <memory>

#include "frame/fixed_string.h"
#include "platform/ws2_32.h"
#include "protocol/channel.h"
#include "protocol/receive_buffer.h"
#include "transport/address.h"

namespace qv {

// Proxy types.
inline constexpr DWORD kProxyNone = 0;
inline constexpr DWORD kProxyStandard = 1;
inline constexpr DWORD kProxySecure = 2;
inline constexpr DWORD kProxyOther = 255;

inline constexpr std::size_t kHostCapacity = 256;
inline constexpr std::size_t kUserCapacity = 1024;
inline constexpr std::size_t kPasswordCapacity = 4096;

struct Connection {
  Connection() = default;
  ~Connection() { CloseSocket(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  ws2::Socket socket = ws2::kInvalidSocket;
  // Over the socket; NULL without one. Whoever waits in it shares it: an event may close it.
  std::shared_ptr<Channel> channel;
  ReceiveBuffer input;

  FixedString<kHostCapacity> host;
  InternetAddress remote;
  UINT port = 0;

  DWORD proxy_type = kProxyNone;
  FixedString<kHostCapacity> proxy_host;
  InternetAddress proxy;
  UINT proxy_port = 0;
  FixedString<kUserCapacity> proxy_user;
  FixedString<kPasswordCapacity> proxy_password;

  std::atomic<bool> connected{false};
  bool peer_closed = false;  // it cannot carry another request
  bool used = false;         // it has carried a request
  DWORD idle_since = 0;      // the tick when the last request was closed

  // Closes the socket, if there is one, and forgets what was received from it.
  void CloseSocket();
};

}  // namespace qv

#endif  // QV_PROTOCOL_CONNECTION_H_
