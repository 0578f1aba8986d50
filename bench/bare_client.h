// The limit: loops over a bare socket, or OpenSSL's calls on one, that do no more than the exchange
// needs, and know in advance what kind of response comes.
#ifndef BENCH_BARE_CLIENT_H_
#define BENCH_BARE_CLIENT_H_

#include <cstdint>
#include <memory>

#include "bare_connection.h"
#include "client.h"
#include "endpoint.h"
#include "identity.h"

namespace bench {

class BareClient final : public Client {
 public:
  explicit BareClient(const Endpoint& endpoint);

  void Get(const char* resource, std::size_t size) override;
  void GetDecoded(const char* resource, std::size_t size) override;
  void GetToFile(const char* resource, const std::string& file) override;
  void PutFromFile(const char* resource, const std::string& file) override;
  void GetOnce(const char* resource, std::size_t size) override;

 private:
  struct FreeSession {
    void operator()(SSL_SESSION* session) const { SSL_SESSION_free(session); }
  };

  static int KeepSession(SSL* tls, SSL_SESSION* session);
  BareConnection& Kept();
  void GetSmall(BareConnection& connection, const char* resource, std::size_t size);
  void GetLarge(const char* resource, std::size_t size);
  void GetChunked(const char* resource, std::size_t size);

  uint16_t port_;
  ContextPtr context_;                                 // NULL in clear
  std::unique_ptr<SSL_SESSION, FreeSession> session_;  // the last one, to be resumed
  std::unique_ptr<BareConnection> kept_;
};

}  // namespace bench

#endif  // BENCH_BARE_CLIENT_H_
