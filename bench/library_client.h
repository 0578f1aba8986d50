// This library.
#ifndef BENCH_LIBRARY_CLIENT_H_
#define BENCH_LIBRARY_CLIENT_H_

#include <memory>

#include "client.h"
#include "endpoint.h"
#include "qvhttp12.h"

namespace bench {

class LibrarySession {
 public:
  LibrarySession(const Endpoint& endpoint, DWORD options);
  ~LibrarySession();
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;

  void Get(const char* resource, std::size_t size, DWORD options = 0);

  HCLIENT handle() const { return handle_; }

 private:
  HCLIENT handle_;
};

class LibraryClient final : public Client {
 public:
  explicit LibraryClient(const Endpoint& endpoint) : endpoint_(endpoint) {}

  void Get(const char* resource, std::size_t size) override;
  void GetDecoded(const char* resource, std::size_t size) override;
  void GetToFile(const char* resource, const std::string& file) override;
  void PutFromFile(const char* resource, const std::string& file) override;
  void GetOnce(const char* resource, std::size_t size) override;

 private:
  LibrarySession& Kept();

  Endpoint endpoint_;
  std::unique_ptr<LibrarySession> kept_;
};

}  // namespace bench

#endif  // BENCH_LIBRARY_CLIENT_H_
