#include "platform/security/transport.h"

#include <openssl/err.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace test {
namespace {

std::size_t TakeFrom(std::string& source, char* buffer, std::size_t capacity) {
  const std::size_t count = std::min(source.size(), capacity);
  std::memcpy(buffer, source.data(), count);
  source.erase(0, count);
  return count;
}

}  // namespace

TlsPeer::TlsPeer(const TlsServerOptions& options)
    : own_settings_(MakeServerSettings(options)),
      ssl_(SSL_new(own_settings_.get()), SSL_free),
      incoming_bio_(BIO_new(BIO_s_mem())),
      outgoing_bio_(BIO_new(BIO_s_mem())) {
  SSL_set_bio(ssl_.get(), incoming_bio_, outgoing_bio_);
  SSL_set_accept_state(ssl_.get());
}

TlsPeer::TlsPeer(SSL_CTX* settings)
    : own_settings_(nullptr, SSL_CTX_free),
      ssl_(SSL_new(settings), SSL_free),
      incoming_bio_(BIO_new(BIO_s_mem())),
      outgoing_bio_(BIO_new(BIO_s_mem())) {
  SSL_set_bio(ssl_.get(), incoming_bio_, outgoing_bio_);
  SSL_set_accept_state(ssl_.get());
}

void TlsPeer::Send(std::string_view bytes) {
  BIO_write(incoming_bio_, bytes.data(), static_cast<int>(bytes.size()));
}

std::string TlsPeer::Read() {
  constexpr std::size_t kChunk = 16384;
  char chunk[kChunk];
  ERR_clear_error();
  for (int count = 0; (count = SSL_read(ssl_.get(), chunk, kChunk)) > 0;) {
    plaintext_.append(chunk, static_cast<std::size_t>(count));
  }
  const int reason = ERR_GET_REASON(ERR_peek_last_error());
  if (reason > SSL_AD_REASON_OFFSET) received_alert_ = reason - SSL_AD_REASON_OFFSET;
  ERR_clear_error();
  return std::exchange(plaintext_, {});
}

void TlsPeer::Write(std::string_view bytes) {
  SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size()));
}

void TlsPeer::AskForHandshake() {
  SSL_set_options(ssl_.get(), SSL_OP_NO_SESSION_RESUMPTION_ON_RENEGOTIATION);
  SSL_renegotiate(ssl_.get());
  SSL_do_handshake(ssl_.get());
}

std::string& TlsPeer::outgoing() {
  plaintext_ = Read();  // moves the handshake on, too
  char* data = nullptr;
  const long size = BIO_get_mem_data(outgoing_bio_, &data);
  outgoing_.append(data, static_cast<std::size_t>(size));
  BIO_reset(outgoing_bio_);
  return outgoing_;
}

std::size_t TlsPeer::Receive(char* buffer, std::size_t capacity) {
  return TakeFrom(outgoing(), buffer, std::min(capacity, piece_));
}

std::size_t SocketTransport::Receive(char* buffer, std::size_t capacity) {
  const ssize_t count = recv(socket_.get(), buffer, capacity, 0);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void SocketTransport::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::size_t FixedAnswer::Receive(char* buffer, std::size_t capacity) {
  return TakeFrom(answer_, buffer, capacity);
}

}  // namespace test
