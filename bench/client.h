// What is compared: an HTTP client, doing what the cases ask for. A failure or a body of another
// length than announced throws std::runtime_error.
#ifndef BENCH_CLIENT_H_
#define BENCH_CLIENT_H_

#include <cstddef>
#include <string>

namespace bench {

class Client {
 public:
  virtual ~Client() = default;

  // Over one connection that is kept; bodies go into memory that is new to each request and are
  // dropped. `size` is the length of the body as delivered.
  virtual void Get(const char* resource, std::size_t size) = 0;
  // The same with a body that comes compressed and is delivered decoded.
  virtual void GetDecoded(const char* resource, std::size_t size) = 0;
  virtual void GetToFile(const char* resource, const std::string& file) = 0;
  virtual void PutFromFile(const char* resource, const std::string& file) = 0;

  // Over a connection that is opened and closed for this request.
  virtual void GetOnce(const char* resource, std::size_t size) = 0;
};

}  // namespace bench

#endif  // BENCH_CLIENT_H_
