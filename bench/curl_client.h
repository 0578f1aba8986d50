// libcurl's easy interface, as its manual shows it, or tuned: large buffers, no signals, and one
// handle for everything, also where each request has a connection of its own.
#ifndef BENCH_CURL_CLIENT_H_
#define BENCH_CURL_CLIENT_H_

#include <curl/curl.h>

#include <memory>

#include "client.h"
#include "endpoint.h"

namespace bench {

enum class CurlForm { kDefault, kTuned };

struct CurlCleanup {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanup>;

struct CurlListCleanup {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

class CurlClient final : public Client {
 public:
  CurlClient(const Endpoint& endpoint, CurlForm form);

  void Get(const char* resource, std::size_t size) override;
  void GetDecoded(const char* resource, std::size_t size) override;
  void GetToFile(const char* resource, const std::string& file) override;
  void PutFromFile(const char* resource, const std::string& file) override;
  void GetOnce(const char* resource, std::size_t size) override;

 private:
  bool tuned() const { return form_ == CurlForm::kTuned; }
  CurlHandle NewHandle() const;
  // Makes the kept handle ready for a kind of request: whether its options are as in a new one and
  // are to be set. A handle that repeats its last request needs only the buffers anew.
  bool Prepare(const char* kind, const char* resource);
  void SetCommonOptions(CURL* handle, const char* resource) const;
  // Fetches into memory.
  void Fetch(CURL* handle, std::size_t size) const;

  CurlForm form_;
  std::string base_;
  std::string authority_;
  CurlHandle kept_;
  std::unique_ptr<curl_slist, CurlListCleanup> no_expect_;
  std::string last_;  // kind and resource of the kept handle's last request
};

}  // namespace bench

#endif  // BENCH_CURL_CLIENT_H_
