#include "bare_client.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "bare_chunks.h"
#include "large_buffer.h"
#include "workload.h"

namespace bench {
namespace {

// Pieces that stay in the processor's cache between the two copies of file transfers.
constexpr std::size_t kFilePiece = std::size_t{256} << 10;
constexpr std::size_t kMemoryPiece = kMebi;
// Larger ones let the thread sleep less often for room in the socket.
constexpr std::size_t kUploadPiece = kMebi;
constexpr int kGzipWindow = 15 + 16;

class File {
 public:
  File(const std::string& name, int flags) : descriptor_(open(name.c_str(), flags, 0644)) {
    if (descriptor_ < 0) throw std::runtime_error("bare: cannot open the file");
  }
  ~File() { close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  void Write(const char* bytes, std::size_t size) {
    if (write(descriptor_, bytes, size) != static_cast<ssize_t>(size)) {
      throw std::runtime_error("bare: write");
    }
  }
  std::size_t Read(char* bytes, std::size_t size) {
    return static_cast<std::size_t>(std::max<ssize_t>(read(descriptor_, bytes, size), 0));
  }
  std::size_t Size() const {
    struct stat status {};
    fstat(descriptor_, &status);
    return static_cast<std::size_t>(status.st_size);
  }

 private:
  int descriptor_;
};

// Decodes pieces of one gzip stream into a growing buffer.
class Decoder {
 public:
  Decoder() : output_(kMebi) {
    if (inflateInit2(&stream_, kGzipWindow) != Z_OK) throw std::runtime_error("bare: inflate");
  }
  ~Decoder() { inflateEnd(&stream_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  void Take(const char* bytes, std::size_t size) {
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes));
    stream_.avail_in = static_cast<uInt>(size);
    while (stream_.avail_in > 0) {
      if (stream_.total_out == output_.size()) output_.Grow();
      stream_.next_out = reinterpret_cast<Bytef*>(output_.data() + stream_.total_out);
      stream_.avail_out = static_cast<uInt>(output_.size() - stream_.total_out);
      const int result = inflate(&stream_, Z_NO_FLUSH);
      if (result == Z_STREAM_END) break;
      if (result != Z_OK) throw std::runtime_error("bare: inflate");
    }
  }
  std::size_t size() const { return stream_.total_out; }

 private:
  z_stream stream_{};
  LargeBuffer output_;
};

}  // namespace

BareClient::BareClient(const Endpoint& endpoint) : port_(endpoint.port) {
  if (!endpoint.secure()) return;
  context_ = NewClientContext(endpoint.authority);
  SSL_CTX_set_app_data(context_.get(), this);
  SSL_CTX_set_session_cache_mode(context_.get(),
                                 SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL_STORE);
  SSL_CTX_sess_set_new_cb(context_.get(), KeepSession);
}

int BareClient::KeepSession(SSL* tls, SSL_SESSION* session) {
  auto* const client = static_cast<BareClient*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(tls)));
  client->session_.reset(session);
  return 1;  // kept
}

BareConnection& BareClient::Kept() {
  if (!kept_) kept_ = std::make_unique<BareConnection>(port_, context_.get());
  return *kept_;
}

void BareClient::Get(const char* resource, std::size_t size) {
  if (std::strcmp(resource, kChunkedResource) == 0) return GetChunked(resource, size);
  if (size >= kMebi) return GetLarge(resource, size);
  GetSmall(Kept(), resource, size);
}

void BareClient::GetSmall(BareConnection& connection, const char* resource, std::size_t size) {
  const std::string_view first = connection.StartGet(resource);
  if (connection.content_length() != size) throw std::runtime_error("bare: length");
  const auto body = std::make_unique_for_overwrite<char[]>(size);
  std::memcpy(body.get(), first.data(), first.size());
  for (std::size_t have = first.size(); have < size;) {
    have += connection.Receive(body.get() + have, size - have);
  }
}

void BareClient::GetLarge(const char* resource, std::size_t size) {
  const std::string_view first = Kept().StartGet(resource);
  if (Kept().content_length() != size) throw std::runtime_error("bare: length");
  const LargeBuffer body(size);
  std::memcpy(body.data(), first.data(), first.size());
  for (std::size_t have = first.size(); have < size;) {
    have += Kept().Receive(body.data() + have, std::min(size - have, kMemoryPiece));
  }
}

void BareClient::GetChunked(const char* resource, std::size_t size) {
  const std::string_view first = Kept().StartGet(resource);
  std::size_t capacity = std::max(first.size(), kFilePiece);
  auto body = std::make_unique_for_overwrite<char[]>(capacity);
  std::memcpy(body.get(), first.data(), first.size());
  BareChunks chunks;
  std::size_t have = chunks.Compact(body.get(), first.size());
  while (!chunks.ended()) {
    if (have == capacity) {
      auto grown = std::make_unique_for_overwrite<char[]>(capacity *= 2);
      std::memcpy(grown.get(), body.get(), have);
      body = std::move(grown);
    }
    have += chunks.Compact(body.get() + have, Kept().Receive(body.get() + have, capacity - have));
  }
  if (have != size) throw std::runtime_error("bare: length");
}

void BareClient::GetDecoded(const char* resource, std::size_t size) {
  const std::string_view first = Kept().StartGet(resource);
  Decoder decoder;
  decoder.Take(first.data(), first.size());
  const auto piece = std::make_unique_for_overwrite<char[]>(kFilePiece);
  for (std::size_t left = Kept().content_length() - first.size(); left > 0;) {
    const std::size_t count = Kept().Receive(piece.get(), std::min(left, kFilePiece));
    decoder.Take(piece.get(), count);
    left -= count;
  }
  if (decoder.size() != size) throw std::runtime_error("bare: length");
}

void BareClient::GetToFile(const char* resource, const std::string& file) {
  const std::string_view first = Kept().StartGet(resource);
  File target(file, O_WRONLY | O_CREAT | O_TRUNC);
  target.Write(first.data(), first.size());
  const auto piece = std::make_unique_for_overwrite<char[]>(kFilePiece);
  for (std::size_t left = Kept().content_length() - first.size(); left > 0;) {
    const std::size_t count = Kept().Receive(piece.get(), std::min(left, kFilePiece));
    target.Write(piece.get(), count);
    left -= count;
  }
}

void BareClient::PutFromFile(const char* resource, const std::string& file) {
  File source(file, O_RDONLY);
  std::string request = "PUT ";
  request.append(resource).append(" HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: ");
  request.append(std::to_string(source.Size())).append("\r\n\r\n");
  Kept().Send(request);
  const auto piece = std::make_unique_for_overwrite<char[]>(kUploadPiece);
  while (const std::size_t count = source.Read(piece.get(), kUploadPiece)) {
    Kept().Send({piece.get(), count});
  }
  Kept().TakeHeader();
}

void BareClient::GetOnce(const char* resource, std::size_t size) {
  BareConnection connection(port_, context_.get(), session_.get());
  GetSmall(connection, resource, size);
}

}  // namespace bench
