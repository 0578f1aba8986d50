#include "bare_chunks.h"

#include <algorithm>
#include <cstring>

namespace bench {
namespace {

constexpr std::size_t kLineEnd = 2;

std::size_t ValueOf(char digit) {
  return static_cast<std::size_t>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10);
}

}  // namespace

const char* BareChunks::TakeSizeLine(const char* from, const char* end) {
  while (from != end) {
    const char digit = *from++;
    if (digit == '\r') continue;
    if (digit != '\n') {
      number_ = number_ * 16 + ValueOf(digit);
      continue;
    }
    last_ = number_ == 0;
    left_ = last_ ? kLineEnd : number_;
    state_ = last_ ? State::kLineEnd : State::kData;
    number_ = 0;
    break;
  }
  return from;
}

const char* BareChunks::TakeLineEnd(const char* from, const char* end) {
  const std::size_t count = std::min(left_, static_cast<std::size_t>(end - from));
  left_ -= count;
  if (left_ == 0) {
    state_ = State::kSize;
    ended_ = last_;
  }
  return from + count;
}

std::size_t BareChunks::Compact(char* bytes, std::size_t size) {
  const char* from = bytes;
  const char* const end = bytes + size;
  char* to = bytes;
  while (from != end && !ended_) {
    if (state_ == State::kSize) {
      from = TakeSizeLine(from, end);
    } else if (state_ == State::kLineEnd) {
      from = TakeLineEnd(from, end);
    } else {
      const std::size_t count = std::min(left_, static_cast<std::size_t>(end - from));
      std::memmove(to, from, count);
      from += count;
      to += count;
      left_ -= count;
      if (left_ > 0) continue;
      left_ = kLineEnd;
      state_ = State::kLineEnd;
    }
  }
  return static_cast<std::size_t>(to - bytes);
}

}  // namespace bench
