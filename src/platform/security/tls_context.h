// One TLS connection, as seen from the client.
#ifndef PLATFORM_SECURITY_TLS_CONTEXT_H_
#define PLATFORM_SECURITY_TLS_CONTEXT_H_

#include <openssl/ssl.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "crypt32/openssl_ptr.h"
#include "platform/security.h"
#include "security/buffer_bio.h"
#include "security/credential.h"

namespace platform::security {

// All results are those of the interface. A failure stays: every further step gives it again.
class TlsContext {
 public:
  // Null when OpenSSL cannot make it.
  static std::unique_ptr<TlsContext> Make(CredentialRef credential, const std::string& target);
  ~TlsContext();
  TlsContext(const TlsContext&) = delete;
  TlsContext& operator=(const TlsContext&) = delete;

  void set_credential(CredentialRef credential) { credential_ = std::move(credential); }

  // One step of the handshake; `used` is how many bytes of the input were consumed.
  SECURITY_STATUS Handshake(std::span<const BYTE> input, std::size_t& used);

  void RequestShutdown() { shutdown_requested_ = true; }
  bool shutdown_requested() const { return shutdown_requested_; }
  // Puts the close-notify among the output, where the connection is in a state that allows one.
  void Shutdown();

  // What has to be sent to the peer.
  std::vector<BYTE>& output() { return bio_.waiting(); }

  // Encrypts data, which may lie in one of the places, into the places.
  SECURITY_STATUS Encrypt(std::span<const BYTE> data, std::span<BufferBio::Place> places);

  // Decrypts one record; the plaintext replaces the bytes behind the header and has `size` bytes.
  SECURITY_STATUS Decrypt(std::span<BYTE> record, std::size_t& size);

  const SSL* ssl() const { return ssl_.get(); }
  bool established() const { return established_; }
  SecPkgContext_StreamSizes StreamSizes() const;

  // What OpenSSL calls.
  int OnCertificateRequest();
  void OnNewSession(SSL_SESSION* session) noexcept;
  void OnKeyLogLine(const char* line) const noexcept;

 private:
  using SslPtr = std::unique_ptr<SSL, crypt32::OpenSslDelete<SSL_free>>;

  explicit TlsContext(CredentialRef credential) : credential_(std::move(credential)) {}
  bool Prepare(const std::string& target);
  std::string SessionKey() const;
  SECURITY_STATUS Fail(SECURITY_STATUS status);
  SECURITY_STATUS ContinueHandshake(std::size_t used, bool input_is_invalid, int result);
  SECURITY_STATUS CompleteHandshake();
  bool AnswerKeyUpdate();

  CredentialRef credential_;
  std::string target_;
  BufferBio bio_;
  SslPtr ssl_;
  crypt32::X509Ptr server_certificate_;
  SECURITY_STATUS failure_ = SEC_E_OK;
  bool established_ = false;  // a handshake has been completed
  bool shutdown_requested_ = false;
  bool certificate_asked_ = false;  // the caller knows that the server wants a certificate
  std::size_t seen_input_ = 0;      // bytes that the caller is going to present again
};

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_TLS_CONTEXT_H_
