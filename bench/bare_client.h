// The limit: loops over a bare socket that do no more than the exchange needs, and know in advance
// what kind of response comes.
#ifndef BENCH_BARE_CLIENT_H_
#define BENCH_BARE_CLIENT_H_

#include <cstdint>
#include <memory>

#include "bare_connection.h"
#include "client.h"

namespace bench {

class BareClient final : public Client {
 public:
  explicit BareClient(uint16_t port) : port_(port) {}

  void Get(const char* resource, std::size_t size) override;
  void GetDecoded(const char* resource, std::size_t size) override;
  void GetToFile(const char* resource, const std::string& file) override;
  void PutFromFile(const char* resource, const std::string& file) override;
  void GetOnce(const char* resource, std::size_t size) override;

 private:
  BareConnection& Kept();
  void GetSmall(BareConnection& connection, const char* resource, std::size_t size);
  void GetLarge(const char* resource, std::size_t size);
  void GetChunked(const char* resource, std::size_t size);

  uint16_t port_;
  std::unique_ptr<BareConnection> kept_;
};

}  // namespace bench

#endif  // BENCH_BARE_CLIENT_H_
