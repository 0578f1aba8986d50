// A TLS server in the test's own process whose handler says what happens on each connection.
#ifndef SUPPORT_TLS_SERVER_H_
#define SUPPORT_TLS_SERVER_H_

#include <openssl/ssl.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/loopback.h"
#include "support/tls_identity.h"
#include "support/unique_fd.h"

namespace test {

struct TlsServerOptions {
  TlsIdentity identity;
  std::vector<TlsIdentity> issuers;  // their certificates are sent along
  int lowest_version = TLS1_2_VERSION;
  int highest_version = TLS1_3_VERSION;
  std::string ciphers;    // of TLS 1.2; OpenSSL's default when empty
  bool resumable = true;  // whether it gives sessions out
  enum class ClientCertificate { kIgnored, kOptional, kRequired };
  ClientCertificate client_certificate = ClientCertificate::kIgnored;
  std::vector<TlsIdentity> client_authorities;  // whose certificates are accepted
};

using SslSettings = std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)>;
// Throws std::runtime_error.
SslSettings MakeServerSettings(const TlsServerOptions& options);

// The server's end of one connection, after a completed handshake. Used by its handler's thread
// only. All that return bool: false when the client has gone (or the server is being stopped).
class TlsConnection {
 public:
  TlsConnection(SSL* ssl, int socket, std::size_t index)
      : ssl_(ssl), socket_(socket), index_(index) {}

  std::size_t index() const { return index_; }  // which connection of the server, from 0
  bool resumed() const { return SSL_session_reused(ssl_) == 1; }
  std::string server_name() const;     // that the client asked for; "" for none
  std::string client_subject() const;  // the common name of the client's certificate; "" for none

  // Up to the blank line and the body that its Content-Length announces; nothing when the client
  // closes first.
  std::optional<std::string> ReadRequest();
  std::optional<std::string> ReadBytes(std::size_t count);
  bool Send(std::string_view bytes);
  // Each piece in a record of its own.
  bool SendInRecords(std::string_view bytes, std::size_t piece);

  bool SendCloseNotify();
  // Changes the keys of TLS 1.3; asks the client to do the same.
  bool UpdateKeys();
  // Asks for another handshake and completes it; TLS 1.2 only.
  bool Renegotiate();
  // Bytes that are no part of the session.
  bool SendRaw(std::string_view bytes);
  // True when the client ends the session with a close-notify, false when without.
  bool WaitForCloseNotify();

  SSL* ssl() { return ssl_; }

 private:
  bool Receive();

  SSL* ssl_;
  int socket_;
  std::size_t index_;
  std::string received_;
};

class TlsServer {
 public:
  using Handler = std::function<void(TlsConnection&)>;

  // The handler runs for each connection in a thread of its own; the connection ends, without
  // close-notify unless the handler sent one, when it returns.
  TlsServer(const TlsServerOptions& options, Handler handler);
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  std::uint16_t port() const { return port_; }
  std::size_t handshakes() const { return handshakes_; }  // completed
  std::size_t failed_handshakes() const { return failures_; }

 private:
  void Accept();
  void Serve(int socket, std::size_t index);

  SslSettings settings_;
  const Handler handler_;
  UniqueFd listener_;
  std::uint16_t port_;
  std::atomic<std::size_t> handshakes_ = 0;
  std::atomic<std::size_t> failures_ = 0;
  std::mutex lock_;  // for what follows
  bool stopping_ = false;
  std::vector<UniqueFd> sockets_;
  std::vector<std::thread> handlers_;
  std::thread acceptor_;
};

}  // namespace test

#endif  // SUPPORT_TLS_SERVER_H_
