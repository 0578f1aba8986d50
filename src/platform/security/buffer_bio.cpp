#include "security/buffer_bio.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace platform::security {
namespace {

// A handshake fits many times; a peer that makes more wait does it to exhaust memory.
constexpr std::size_t kMaxWaiting = 256 * 1024;

}  // namespace

const BIO_METHOD* BufferBio::Method() {
  static const BIO_METHOD* const method = []() -> const BIO_METHOD* {
    BIO_METHOD* const created = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "buffers");
    if (created == nullptr) return nullptr;
    BIO_meth_set_read_ex(created, &BufferBio::Read);
    BIO_meth_set_write_ex(created, &BufferBio::Write);
    BIO_meth_set_ctrl(created, &BufferBio::Control);
    return created;
  }();
  return method;
}

BIO* BufferBio::NewBio() {
  BIO* const bio = Method() != nullptr ? BIO_new(Method()) : nullptr;
  if (bio == nullptr) return nullptr;
  BIO_set_data(bio, this);
  BIO_set_init(bio, 1);
  return bio;
}

int BufferBio::Read(BIO* bio, char* data, std::size_t size, std::size_t* read) {
  auto& self = *static_cast<BufferBio*>(BIO_get_data(bio));
  BIO_clear_retry_flags(bio);
  *read = std::min(size, self.input_.size() - self.used_);
  if (*read == 0) {
    BIO_set_retry_read(bio);
    return 0;
  }
  std::memcpy(data, self.input_.data() + self.used_, *read);
  self.used_ += *read;
  return 1;
}

std::span<const BYTE> BufferBio::Fill(std::span<const BYTE> bytes) {
  for (Place& place : places_) {
    if (bytes.empty()) break;
    const std::size_t count = std::min(bytes.size(), place.capacity - place.filled);
    if (count == 0) continue;
    std::memcpy(place.begin + place.filled, bytes.data(), count);
    place.filled += count;
    bytes = bytes.subspan(count);
  }
  return bytes;
}

int BufferBio::Write(BIO* bio, const char* data, std::size_t size, std::size_t* written) {
  auto& self = *static_cast<BufferBio*>(BIO_get_data(bio));
  BIO_clear_retry_flags(bio);
  std::vector<BYTE>& waiting = self.waiting_;
  std::span<const BYTE> bytes(reinterpret_cast<const BYTE*>(data), size);
  if (!self.places_.empty()) {
    const std::span<const BYTE> left = self.Fill(waiting);
    waiting.erase(waiting.begin(), waiting.end() - static_cast<std::ptrdiff_t>(left.size()));
    if (waiting.empty()) bytes = self.Fill(bytes);
  }
  if (waiting.size() + bytes.size() > kMaxWaiting) return 0;
  try {
    waiting.insert(waiting.end(), bytes.begin(), bytes.end());
  } catch (const std::bad_alloc&) {
    return 0;
  }
  *written = size;
  return 1;
}

long BufferBio::Control(BIO* /*bio*/, int command, long /*number*/, void* /*pointer*/) {
  return command == BIO_CTRL_FLUSH ? 1 : 0;
}

}  // namespace platform::security
