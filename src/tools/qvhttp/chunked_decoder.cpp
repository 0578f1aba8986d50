#include "chunked_decoder.h"

#include <algorithm>

#include "failure.h"

namespace {

constexpr unsigned int kMaxSizeDigits = 16;                   // of a 64-bit number
constexpr std::size_t kMaxLineBytes = std::size_t{64} << 10;  // extensions, or the trailer section

[[noreturn]] void BrokenChunk() {
  throw Failure(ExitCode::kFailure, "the response breaks the chunked transfer coding");
}

// The value of a hexadecimal digit, or -1.
int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

void ChunkedDecoder::Decode(std::string_view input, const Sink& sink) {
  while (!input.empty() && state_ != State::kEnd) {
    if (state_ != State::kData) {
      DecodeFraming(input.front());
      input.remove_prefix(1);
      continue;
    }
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, input.size()));
    sink(input.substr(0, count));
    input.remove_prefix(count);
    remaining_ -= count;
    if (remaining_ == 0) state_ = State::kDataCr;
  }
}

void ChunkedDecoder::DecodeFraming(char byte) {
  const auto expect = [&](char wanted, State next) {
    if (byte != wanted) BrokenChunk();
    state_ = next;
  };
  switch (state_) {
    case State::kSize:
      if (HexValue(byte) >= 0) return AddSizeDigit(byte);
      if (size_digits_ == 0) BrokenChunk();
      if (byte == '\r') {
        state_ = State::kSizeLf;
      } else if (byte == ';' || byte == ' ' || byte == '\t') {
        state_ = State::kExtension;
      } else {
        BrokenChunk();
      }
      return;
    case State::kExtension:
      CountLineByte();
      if (byte == '\n') BrokenChunk();
      if (byte == '\r') state_ = State::kSizeLf;
      return;
    case State::kSizeLf:
      expect('\n', remaining_ == 0 ? State::kTrailerStart : State::kData);
      size_digits_ = 0;
      line_bytes_ = 0;
      return;
    case State::kDataCr:
      return expect('\r', State::kDataLf);
    case State::kDataLf:
      return expect('\n', State::kSize);
    case State::kTrailerStart:
      if (byte == '\n') BrokenChunk();
      state_ = byte == '\r' ? State::kFinalLf : State::kTrailerLine;
      return;
    case State::kTrailerLine:
      CountLineByte();
      if (byte == '\n') state_ = State::kTrailerStart;
      return;
    case State::kFinalLf:
      return expect('\n', State::kEnd);
    case State::kData:
    case State::kEnd:
      return;
  }
}

void ChunkedDecoder::AddSizeDigit(char digit) {
  if (++size_digits_ > kMaxSizeDigits) BrokenChunk();
  remaining_ = remaining_ * 16 + static_cast<std::uint64_t>(HexValue(digit));
}

void ChunkedDecoder::CountLineByte() {
  if (++line_bytes_ > kMaxLineBytes) BrokenChunk();
}
