#include "cases.h"

#include <unistd.h>

#include <cstring>
#include <fstream>

#include "large_buffer.h"
#include "workload.h"

namespace bench {
namespace {

// How far above the bare loop the library's processor time may be.
constexpr double kLimitAim = 1.15;
constexpr double kSecureLimitAim = 1.05;

void Nothing() {}

// On a virtual machine, the first touch of memory that the host has taken back costs many times the
// touch of memory in use. This makes the memory that the system hands out next alike for all;
// `size` is more than any of them takes.
void WarmMemory(std::size_t size) {
  const LargeBuffer memory(size);
  std::memset(memory.data(), 1, memory.size());
}

void WriteFile(const std::string& name, std::size_t size) {
  const std::vector<char> block(kMebi, 'x');
  std::ofstream file(name, std::ios::binary);
  for (std::size_t have = 0; have < size; have += block.size()) {
    file.write(block.data(), static_cast<std::streamsize>(block.size()));
  }
}

template <class Request>
std::function<void(Client&)> Repeat(int count, Request request) {
  return [count, request](Client& client) {
    for (int i = 0; i < count; ++i) request(client);
  };
}

}  // namespace

std::vector<Case> PlainCases(const std::string& folder) {
  const std::string download = folder + "/download";
  const std::string upload = folder + "/upload";
  return {
      {"small", "20,000 GETs of 100 bytes, one connection", 0.70, kLimitAim,
       Repeat(kSmallGets, [](Client& client) { client.Get(kSmallResource, kSmallBody); }), Nothing,
       Nothing},
      {"memory", "1 GiB into memory", 0.50, kLimitAim,
       [](Client& client) { client.Get(kLargeResource, kLargeBody); }, Nothing,
       [] { WarmMemory(7 * kLargeBody / 2); }},
      {"file", "1 GiB into a file", 0.90, kLimitAim,
       [download](Client& client) { client.GetToFile(kLargeResource, download); }, Nothing,
       [download] {
         unlink(download.c_str());
         WarmMemory(kLargeBody + kLargeBody / 4);
       }},
      {"upload", "256 MiB from a file", 0.85, kLimitAim,
       [upload](Client& client) { client.PutFromFile(kUploadResource, upload); },
       [upload] { WriteFile(upload, kUploadBody); }, Nothing},
      {"chunked", "1,000 GETs, 60 fields, 1,000 chunks of 64 bytes", 0.45, kLimitAim,
       Repeat(kChunkedGets,
              [](Client& client) { client.Get(kChunkedResource, kChunks * kChunkSize); }),
       Nothing, Nothing},
      {"gzip", "64 MiB of text, decoded from gzip", 0.80, kLimitAim,
       [](Client& client) { client.GetDecoded(kEncodedResource, kInflatedBody); }, Nothing,
       [] { WarmMemory(8 * kInflatedBody); }},
      {"connect", "2,000 times connect, GET of 100 bytes, close", 0.80, kLimitAim,
       Repeat(kConnects, [](Client& client) { client.GetOnce(kLastResource, kSmallBody); }),
       Nothing, Nothing},
  };
}

std::vector<Case> SecureCases(const std::string& folder) {
  const std::string upload = folder + "/upload";
  const auto get_once = [](Client& client) { client.GetOnce(kLastResource, kSmallBody); };
  return {
      {"small", "20,000 GETs of 100 bytes, one connection", 1.00, kLimitAim,
       Repeat(kSmallGets, [](Client& client) { client.Get(kSmallResource, kSmallBody); }), Nothing,
       Nothing},
      {"memory", "1 GiB into memory", 1.00, kSecureLimitAim,
       [](Client& client) { client.Get(kLargeResource, kLargeBody); }, Nothing,
       [] { WarmMemory(7 * kLargeBody / 2); }},
      {"upload", "256 MiB from a file", 1.00, kSecureLimitAim,
       [upload](Client& client) { client.PutFromFile(kUploadResource, upload); },
       [upload] { WriteFile(upload, kUploadBody); }, Nothing},
      {"resumed", "500 times connect with resumption, GET of 100 bytes, close", 1.00, kLimitAim,
       Repeat(kHandshakes, get_once), Nothing, Nothing},
      {"handshake", "500 times connect without resumption, GET of 100 bytes, close", 1.00,
       kLimitAim, Repeat(kHandshakes, get_once), Nothing, Nothing, true},
  };
}

}  // namespace bench
