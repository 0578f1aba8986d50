// One exchange over a bare socket, or over TLS on one, as far as all of them are alike: connect,
// send a request, take the header of the response.
#ifndef BENCH_BARE_CONNECTION_H_
#define BENCH_BARE_CONNECTION_H_

#include <openssl/ssl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace bench {

class BareConnection {
 public:
  // Over TLS where there is a context; resumes the session that `resumed` holds, if it holds one.
  BareConnection(uint16_t port, SSL_CTX* context, SSL_SESSION* resumed = nullptr);
  ~BareConnection();
  BareConnection(const BareConnection&) = delete;
  BareConnection& operator=(const BareConnection&) = delete;

  void Send(std::string_view bytes);
  std::size_t Receive(char* buffer, std::size_t size);

  // Sends a GET and takes the header of the response: what of the body came with it, valid until
  // the next call.
  std::string_view StartGet(std::string_view resource);
  // The rest of a response to something else than a GET, without a body.
  void TakeHeader();

  // The value of Content-Length in the last header.
  std::size_t content_length() const;

 private:
  struct FreeTls {
    void operator()(SSL* tls) const { SSL_free(tls); }
  };

  void StartTls(SSL_CTX* context, SSL_SESSION* resumed);
  std::string_view ReadHeader();

  int socket_;
  std::unique_ptr<SSL, FreeTls> tls_;
  char buffer_[16384];
  std::string_view header_;
};

}  // namespace bench

#endif  // BENCH_BARE_CONNECTION_H_
