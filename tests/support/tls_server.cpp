#include "support/tls_server.h"

#include <openssl/err.h>
#include <sys/socket.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

#include "support/messages.h"

namespace test {
namespace {

void Require(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(what);
}

void AskForCertificate(SSL_CTX* settings, const TlsServerOptions& options) {
  if (options.client_certificate == TlsServerOptions::ClientCertificate::kIgnored) return;
  const bool required =
      options.client_certificate == TlsServerOptions::ClientCertificate::kRequired;
  SSL_CTX_set_verify(settings, SSL_VERIFY_PEER | (required ? SSL_VERIFY_FAIL_IF_NO_PEER_CERT : 0),
                     nullptr);
  for (const TlsIdentity& each : options.client_authorities) {
    X509_STORE_add_cert(SSL_CTX_get_cert_store(settings), each.certificate.get());
    SSL_CTX_add_client_CA(settings, each.certificate.get());
  }
}

// OpenSSL writes to sockets without MSG_NOSIGNAL. Only the calling thread is spared the signal, so
// that one that the tested code raises is noticed.
void IgnoreBrokenPipes() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

std::string CommonName(X509* certificate) {
  constexpr int kMaxName = 256;
  char name[kMaxName] = {};
  X509_NAME_get_text_by_NID(X509_get_subject_name(certificate), NID_commonName, name, kMaxName);
  return name;
}

}  // namespace

SslSettings MakeServerSettings(const TlsServerOptions& options) {
  SslSettings settings(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  Require(settings != nullptr, "no memory");
  SSL_CTX* const raw = settings.get();
  SSL_CTX_set_min_proto_version(raw, options.lowest_version);
  SSL_CTX_set_max_proto_version(raw, options.highest_version);
  // What TLS 1.0 and 1.1 sign with.
  if (options.lowest_version < TLS1_2_VERSION) SSL_CTX_set_security_level(raw, 0);
  if (!options.ciphers.empty()) {
    Require(SSL_CTX_set_cipher_list(raw, options.ciphers.c_str()) == 1, "ciphers");
  }
  Require(SSL_CTX_use_certificate(raw, options.identity.certificate.get()) == 1, "certificate");
  Require(SSL_CTX_use_PrivateKey(raw, options.identity.key.get()) == 1, "key");
  for (const TlsIdentity& each : options.issuers) {
    Require(SSL_CTX_add1_chain_cert(raw, each.certificate.get()) == 1, "chain");
  }
  if (!options.resumable) {
    SSL_CTX_set_options(raw, SSL_OP_NO_TICKET);
    SSL_CTX_set_session_cache_mode(raw, SSL_SESS_CACHE_OFF);
  }
  AskForCertificate(raw, options);
  static constexpr unsigned char kSessionContext[] = "test";
  SSL_CTX_set_session_id_context(raw, kSessionContext, sizeof(kSessionContext));
  return settings;
}

std::string TlsConnection::server_name() const {
  const char* const name = SSL_get_servername(ssl_, TLSEXT_NAMETYPE_host_name);
  return name != nullptr ? name : "";
}

std::string TlsConnection::client_subject() const {
  X509* const certificate = SSL_get0_peer_certificate(ssl_);
  return certificate != nullptr ? CommonName(certificate) : "";
}

bool TlsConnection::Receive() {
  constexpr std::size_t kChunk = 16384;
  char chunk[kChunk];
  ERR_clear_error();
  const int count = SSL_read(ssl_, chunk, kChunk);
  if (count <= 0) return false;
  received_.append(chunk, static_cast<std::size_t>(count));
  return true;
}

std::optional<std::string> TlsConnection::ReadRequest() {
  constexpr std::string_view kHeadEnd = "\r\n\r\n";
  std::size_t head_end = received_.find(kHeadEnd);
  for (; head_end == std::string::npos; head_end = received_.find(kHeadEnd)) {
    if (!Receive()) return std::nullopt;
  }
  const std::size_t head_size = head_end + kHeadEnd.size();
  const auto length = HeaderOf(std::string_view(received_).substr(0, head_size), "Content-Length");
  return ReadBytes(head_size + (length ? std::stoul(*length) : 0));
}

std::optional<std::string> TlsConnection::ReadBytes(std::size_t count) {
  while (received_.size() < count) {
    if (!Receive()) return std::nullopt;
  }
  std::string bytes = received_.substr(0, count);
  received_.erase(0, count);
  return bytes;
}

bool TlsConnection::Send(std::string_view bytes) {
  ERR_clear_error();
  return bytes.empty() || SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size())) > 0;
}

bool TlsConnection::SendInRecords(std::string_view bytes, std::size_t piece) {
  for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
    if (!Send(bytes.substr(0, piece))) return false;
  }
  return true;
}

bool TlsConnection::SendCloseNotify() {
  ERR_clear_error();
  return SSL_shutdown(ssl_) >= 0;
}

bool TlsConnection::UpdateKeys() {
  ERR_clear_error();
  return SSL_key_update(ssl_, SSL_KEY_UPDATE_REQUESTED) == 1 && SSL_do_handshake(ssl_) == 1;
}

bool TlsConnection::Renegotiate() {
  ERR_clear_error();
  SSL_set_options(ssl_, SSL_OP_NO_SESSION_RESUMPTION_ON_RENEGOTIATION);
  // The request; the client's answer comes when reading, which must return without data then.
  if (SSL_renegotiate(ssl_) != 1 || SSL_do_handshake(ssl_) != 1) return false;
  SSL_clear_mode(ssl_, SSL_MODE_AUTO_RETRY);
  bool connected = true;
  while (connected && SSL_renegotiate_pending(ssl_) != 0) {
    connected = Receive() || SSL_want_read(ssl_);
  }
  SSL_set_mode(ssl_, SSL_MODE_AUTO_RETRY);
  return connected;
}

bool TlsConnection::SendRaw(std::string_view bytes) {
  return send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(bytes.size());
}

bool TlsConnection::WaitForCloseNotify() {
  while (Receive()) {
  }
  return (SSL_get_shutdown(ssl_) & SSL_RECEIVED_SHUTDOWN) != 0;
}

TlsServer::TlsServer(const TlsServerOptions& options, Handler handler)
    : settings_(MakeServerSettings(options)),
      handler_(std::move(handler)),
      listener_(BindLoopback()),
      port_(PortOf(listener_)) {
  Require(listen(listener_.get(), SOMAXCONN) == 0, "listen");
  acceptor_ = std::thread([this] { Accept(); });
}

TlsServer::~TlsServer() {
  {
    const std::lock_guard guard(lock_);
    stopping_ = true;
    shutdown(listener_.get(), SHUT_RDWR);
    for (const UniqueFd& socket : sockets_) shutdown(socket.get(), SHUT_RDWR);
  }
  acceptor_.join();
  for (std::thread& handler : handlers_) handler.join();
}

void TlsServer::Accept() {
  for (;;) {
    UniqueFd socket(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    const std::lock_guard guard(lock_);
    if (stopping_ || !socket.valid()) return;
    const int raw = socket.get();
    const std::size_t index = sockets_.size();
    sockets_.push_back(std::move(socket));
    handlers_.emplace_back([this, raw, index] { Serve(raw, index); });
  }
}

void TlsServer::Serve(int socket, std::size_t index) {
  IgnoreBrokenPipes();
  const std::unique_ptr<SSL, void (*)(SSL*)> ssl(SSL_new(settings_.get()), SSL_free);
  SSL_set_fd(ssl.get(), socket);
  ERR_clear_error();
  if (SSL_accept(ssl.get()) == 1) {
    ++handshakes_;
    TlsConnection connection(ssl.get(), socket, index);
    handler_(connection);
  } else {
    ++failures_;
  }
  // What the client still sends must not turn the end into a reset that overtakes the last bytes.
  shutdown(socket, SHUT_WR);
  constexpr std::size_t kChunk = 4096;
  char chunk[kChunk];
  while (recv(socket, chunk, kChunk, 0) > 0) {
  }
}

}  // namespace test
