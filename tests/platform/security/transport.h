// What carries the bytes between the provider under test and its peer.
#ifndef PLATFORM_SECURITY_TRANSPORT_H_
#define PLATFORM_SECURITY_TRANSPORT_H_

#include <openssl/ssl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "support/loopback.h"
#include "support/tls_server.h"
#include "support/unique_fd.h"

namespace test {

class Transport {
 public:
  virtual ~Transport() = default;
  // How many bytes came; 0 when no more will.
  virtual std::size_t Receive(char* buffer, std::size_t capacity) = 0;
  virtual void Send(std::string_view bytes) = 0;
};

// A server without a network: it moves on when the client wants to receive.
class TlsPeer : public Transport {
 public:
  explicit TlsPeer(const TlsServerOptions& options);
  // With the settings of another, so that sessions can be resumed.
  explicit TlsPeer(SSL_CTX* settings);

  std::size_t Receive(char* buffer, std::size_t capacity) override;
  void Send(std::string_view bytes) override;

  // The most that one Receive gives.
  void set_piece(std::size_t piece) { piece_ = piece; }
  // Bytes on the way to the client, for changing them.
  std::string& outgoing();
  // All that the client has sent in one record or several, decrypted.
  std::string Read();
  void Write(std::string_view bytes);
  // Sends the request for another handshake, which is to be a full one; TLS 1.2 only.
  void AskForHandshake();
  bool resumed() const { return SSL_session_reused(ssl_.get()) == 1; }
  bool received_close_notify() const {
    return (SSL_get_shutdown(ssl_.get()) & SSL_RECEIVED_SHUTDOWN) != 0;
  }
  // The number of the last fatal alert; 0 when there was none.
  int received_alert() const { return received_alert_; }
  SSL* ssl() { return ssl_.get(); }
  SSL_CTX* settings() { return SSL_get_SSL_CTX(ssl_.get()); }

 private:
  SslSettings own_settings_;
  std::unique_ptr<SSL, void (*)(SSL*)> ssl_;
  BIO* incoming_bio_;  // owned by ssl_, as is the other
  BIO* outgoing_bio_;
  std::string outgoing_;
  std::string plaintext_;
  std::size_t piece_ = SIZE_MAX;
  int received_alert_ = 0;
};

class SocketTransport : public Transport {
 public:
  explicit SocketTransport(std::uint16_t port) : socket_(ConnectLoopback(port)) {}
  std::size_t Receive(char* buffer, std::size_t capacity) override;
  void Send(std::string_view bytes) override;

 private:
  UniqueFd socket_;
};

// Gives fixed bytes, whatever is sent.
class FixedAnswer : public Transport {
 public:
  explicit FixedAnswer(std::string answer) : answer_(std::move(answer)) {}
  std::size_t Receive(char* buffer, std::size_t capacity) override;
  void Send(std::string_view bytes) override { sent_ += bytes; }
  const std::string& sent() const { return sent_; }

 private:
  std::string answer_;
  std::string sent_;
};

}  // namespace test

#endif  // PLATFORM_SECURITY_TRANSPORT_H_
