#include "protocol/header_line_reader.h"

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/session_io.h"

namespace qv {

Result<bool> HeaderLineReader::Next() {
  line_.clear();
  in_quotes_ = after_space_ = false;
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
  block_size_ += bytes.size();
  if (block_size_ > kLongestBlock) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
  for (char c : bytes) {
    switch (c) {
      case '\0':
        return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
      case '\r':
        continue;
      case '\n':
        if (!started_) continue;
        if (++lines_ > kMostFields) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
        return true;
      case '"':
        in_quotes_ = !in_quotes_;
        break;
      default:
        break;
    }
    const bool space = IsSpace(c);
    if (space && !in_quotes_ && (after_space_ || !started_)) continue;
    after_space_ = space;
    started_ = true;
    if (line_.size() < kLongestLine) line_.push_back(c);
  }
  return false;
}

std::string_view HeaderLineReader::line() const { return TrimLeft(line_); }

}  // namespace qv
