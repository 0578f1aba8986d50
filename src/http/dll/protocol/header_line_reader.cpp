#include "protocol/header_line_reader.h"

#include <array>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

// Bytes that are stored as they are, whatever stands around them.
constexpr auto kPlain = [] {
  std::array<bool, 256> plain{};
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const char c = static_cast<char>(i);
    plain[i] = c != '\0' && c != '"' && !IsSpace(c);
  }
  return plain;
}();

// How many of them the text begins with, single spaces between them included.
std::size_t PlainLength(std::string_view text, bool after_space) {
  std::size_t length = 0;
  while (true) {
    const std::size_t begin = length;
    while (length < text.size() && kPlain[static_cast<unsigned char>(text[length])]) ++length;
    if (length == text.size() || text[length] != ' ') return length;
    if (length == begin && after_space) return length;
    ++length;
    after_space = true;
  }
}

}  // namespace

Result<bool> HeaderLineReader::Next() {
  if (!state_.in_line) {
    state_.line.clear();
    state_.in_quotes = state_.after_space = false;
    state_.in_line = true;
  }
  ReceiveBuffer& input = session_.connection.input;
  while (true) {
    Result<INT> waiting = FillInput(session_);
    if (!waiting) return waiting.error();
    if (Error error = session_.CheckAlive()) return error;
    if (*waiting == 0) return false;
    const std::string_view bytes = input.view();
    const std::size_t line_end = bytes.find('\n');
    const std::size_t taken = line_end == bytes.npos ? bytes.size() : line_end + 1;
    Result<bool> complete = Take(bytes.substr(0, taken));
    input.Consume(taken);
    if (!complete || *complete) return complete;
  }
}

Result<bool> HeaderLineReader::Take(std::string_view bytes) {
  state_.block_size += bytes.size();
  if (state_.block_size > kLongestBlock) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
  while (!bytes.empty()) {
    const bool drops_space = state_.after_space || !state_.started;
    if (const std::size_t plain = PlainLength(bytes, drops_space); plain > 0) {
      Store(bytes.substr(0, plain));
      bytes.remove_prefix(plain);
      continue;
    }
    const char c = bytes.front();
    bytes.remove_prefix(1);
    switch (c) {
      case '\0':
        return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
      case '\r':
        continue;
      case '\n':
        if (!state_.started) continue;
        if (++state_.lines > kMostFields) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
        state_.in_line = false;
        return true;
      case '"':
        state_.in_quotes = !state_.in_quotes;
        break;
      default:
        break;
    }
    const bool space = IsSpace(c);
    if (space && !state_.in_quotes && (state_.after_space || !state_.started)) continue;
    Store({&c, 1});
  }
  return false;
}

void HeaderLineReader::Store(std::string_view bytes) {
  state_.after_space = IsSpace(bytes.back());
  state_.started = true;
  state_.line.append(bytes.substr(0, kLongestLine - state_.line.size()));
}

std::string_view HeaderLineReader::line() const { return TrimLeft(state_.line); }

}  // namespace qv
