// One TLS connection as the security provider sees it: bytes in, bytes out, no socket.
#ifndef QV_TLS_SECURITY_CONTEXT_H_
#define QV_TLS_SECURITY_CONTEXT_H_

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "frame/error.h"
#include "tls/client_credential.h"

namespace qv {

struct TokenDeleter {
  void operator()(char* bytes) const;
};

// Bytes for the peer, allocated by the provider.
struct Token {
  std::unique_ptr<char, TokenDeleter> bytes;
  std::size_t size = 0;
  std::string_view view() const { return {bytes.get(), size}; }
};

class SecurityContext {
 public:
  explicit SecurityContext(ClientCredential credential) : credential_(std::move(credential)) {}
  ~SecurityContext();
  SecurityContext(const SecurityContext&) = delete;
  SecurityContext& operator=(const SecurityContext&) = delete;

  struct Step {
    SECURITY_STATUS status = SEC_E_OK;
    Token token;            // to be sent, if not empty
    std::size_t extra = 0;  // bytes at the end of the input that were not used
  };
  // The first step of a handshake, and the ones after it with what the peer sent.
  Step Begin(const std::string& server_name);
  Step Continue(std::span<char> input);

  // The server wants a certificate: replaces the credential by one that has it, if the store does.
  void AnswerCertificateRequest(const Session& session);

  // After a handshake. QV_ERROR_SECURITY_CONTEXT, QV_ERROR_INTERNAL_FAILURE.
  Error TakeStreamSizes();
  std::size_t header_size() const { return sizes_.cbHeader; }
  std::size_t trailer_size() const { return sizes_.cbTrailer; }
  std::size_t largest_message() const { return sizes_.cbMaximumMessage; }

  struct Decrypted {
    SECURITY_STATUS status = SEC_E_OK;
    std::span<char> data;   // inside the input
    std::size_t extra = 0;  // bytes at the end of the input that belong to later records
  };
  Decrypted Decrypt(std::span<char> input);

  // Encrypts `size` bytes that lie header_size() bytes behind `record` in place, as one record; the
  // length of the record with header and trailer. 0: nothing was done, as the last record that was
  // decrypted ended in the middle of a message, the rest of which has to be decrypted first.
  Result<std::size_t> Encrypt(char* record, std::size_t size);

  // The close-notify for the peer; nothing when there is none to send.
  Token Shutdown();

  CtxtHandle* handle() { return &handle_; }

 private:
  Step Advance(SecBufferDesc* input, const std::string* server_name);

  ClientCredential credential_;
  CtxtHandle handle_{};
  SecPkgContext_StreamSizes sizes_{};
};

}  // namespace qv

#endif  // QV_TLS_SECURITY_CONTEXT_H_
