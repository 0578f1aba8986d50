#include "transfer/inflater.h"

#include <algorithm>
#include <limits>

namespace qv {
namespace {

constexpr int kWindowBits = 15 + 32;  // zlib and gzip headers are recognised
constexpr std::string_view kMagic = "\x1f\x8b";

// zlib does not write through its input pointer; its type is historical.
Bytef* BytesOf(const char* bytes) { return reinterpret_cast<Bytef*>(const_cast<char*>(bytes)); }

uInt Limited(std::size_t size) {
  return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

}  // namespace

Inflater::Inflater(Error malformed)
    : malformed_(malformed), ready_(inflateInit2(&stream_, kWindowBits) == Z_OK) {}

Inflater::~Inflater() {
  if (ready_) inflateEnd(&stream_);
}

Result<std::size_t> Inflater::Decode(std::string_view& input, std::span<char> output) {
  if (!ready_) return Error(QV_ERROR_OUT_OF_MEMORY);
  if (!begun_ && !input.empty()) {
    begun_ = true;
    gzip_ = input.front() == kMagic.front();
  }
  std::size_t total = 0;
  while (true) {
    if (state_ == State::kBetween) {
      if (Error error = FindMember(input)) return error;
    }
    if (state_ != State::kInside) return total;
    std::size_t count = 0;
    if (Error error = Step(input, output.subspan(total), count)) return error;
    total += count;
    if (state_ == State::kInside && (input.empty() || total == output.size())) return total;
  }
}

Error Inflater::Step(std::string_view& input, std::span<char> output, std::size_t& count) {
  stream_.next_in = BytesOf(input.data());
  stream_.avail_in = Limited(input.size());
  stream_.next_out = BytesOf(output.data());
  stream_.avail_out = Limited(output.size());
  const uInt offered = stream_.avail_in;
  const uInt room = stream_.avail_out;
  const int result = inflate(&stream_, Z_NO_FLUSH);
  input.remove_prefix(offered - stream_.avail_in);
  count = room - stream_.avail_out;
  if (result == Z_MEM_ERROR) return QV_ERROR_OUT_OF_MEMORY;
  if (result == Z_STREAM_END) state_ = gzip_ ? State::kBetween : State::kEnded;
  const bool usable = result == Z_OK || result == Z_STREAM_END || result == Z_BUF_ERROR;
  return usable ? kNoError : malformed_;
}

Error Inflater::FindMember(std::string_view& input) {
  while (!input.empty()) {
    if (input.front() != kMagic[matched_]) {
      state_ = State::kEnded;
      return kNoError;
    }
    input.remove_prefix(1);
    if (++matched_ == kMagic.size()) return BeginMember();
  }
  return kNoError;
}

Error Inflater::BeginMember() {
  matched_ = 0;
  state_ = State::kInside;
  if (inflateReset(&stream_) != Z_OK) return malformed_;
  char nothing = 0;  // a header decodes to none
  std::string_view magic = kMagic;
  std::size_t count = 0;
  return Step(magic, {&nothing, 1}, count);
}

}  // namespace qv
