#include "protocol/header_line_reader.h"

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/session_io.h"

namespace qv {

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
  for (char c : bytes) {
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
    state_.after_space = space;
    state_.started = true;
    if (state_.line.size() < kLongestLine) state_.line.push_back(c);
  }
  return false;
}

std::string_view HeaderLineReader::line() const { return TrimLeft(state_.line); }

}  // namespace qv
