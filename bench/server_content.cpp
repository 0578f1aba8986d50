#include "server_content.h"

#include <zlib.h>

#include <cstdio>
#include <random>
#include <stdexcept>

#include "workload.h"

namespace bench {
namespace {

constexpr int kGzipWindow = 15 + 16;
constexpr int kDefaultMemory = 8;
constexpr unsigned kSeed = 12;

// Lines of an access log: repetitive, as text that servers compress is.
std::string LogText(std::size_t size) {
  static constexpr const char* kPaths[] = {"index.html", "images/logo.png", "api/v2/orders",
                                           "search",     "static/site.css", "account/settings"};
  std::mt19937 random(kSeed);
  std::string text;
  text.reserve(size + 256);
  for (unsigned line = 0; text.size() < size; ++line) {
    char buffer[256];
    const int length = std::snprintf(
        buffer, sizeof(buffer),
        "192.168.%u.%u - - [12/Mar/2024:%02u:%02u:%02u +0000] \"GET /%s?id=%u HTTP/1.1\" %u %u\n",
        static_cast<unsigned>(random() % 4), static_cast<unsigned>(random() % 256),
        line / 360000 % 24, line / 6000 % 60, line / 100 % 60, kPaths[random() % 6],
        static_cast<unsigned>(random() % 100000), random() % 20 == 0 ? 404u : 200u,
        static_cast<unsigned>(random() % 50000));
    text.append(buffer, static_cast<std::size_t>(length));
  }
  text.resize(size);
  return text;
}

std::string Gzip(std::string text) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kDefaultMemory,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("deflate");
  }
  std::string encoded(deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(text.data());
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(encoded.data());
  stream.avail_out = static_cast<uInt>(encoded.size());
  const int result = deflate(&stream, Z_FINISH);
  encoded.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("deflate");
  return encoded;
}

}  // namespace

std::string ChunkedResponse() {
  std::string response = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n";
  for (std::size_t i = 1; i < kChunkedFields; ++i) {
    response += "X-Sample-Field-" + std::to_string(i) + ": value of the field with number " +
                std::to_string(i) + "\r\n";
  }
  response += "\r\n";
  char size_line[16];
  std::snprintf(size_line, sizeof(size_line), "%zx\r\n", kChunkSize);
  for (std::size_t i = 0; i < kChunks; ++i) {
    response.append(size_line).append(kChunkSize, 'x').append("\r\n");
  }
  return response + "0\r\n\r\n";
}

std::string EncodedResponse() {
  const std::string body = Gzip(LogText(kInflatedBody));
  return "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Encoding: gzip\r\n"
         "Content-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace bench
