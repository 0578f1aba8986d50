#include "protocol/header_line_reader.h"

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

// Whether a line is stored as it stands: no control characters, quotes, or white space that is
// dropped. The loop has no early end, so that compilers check many bytes at a time.
bool IsPlain(std::string_view line) {
  if (line.empty() || line.front() <= ' ' || line.front() == '"') return false;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(line.data());
  unsigned char odd = 0;
  for (std::size_t i = 1; i < line.size(); ++i) {
    const bool double_space = (bytes[i] == ' ') & (bytes[i - 1] == ' ');
    odd |= static_cast<unsigned char>((bytes[i] < ' ') | (bytes[i] == '"') | double_space);
  }
  return odd == 0;
}

}  // namespace

Result<bool> HeaderLineReader::Next() {
  whole_ = {};
  const bool fresh = !state_.in_line;
  if (fresh) {
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
    state_.block_size += taken;
    if (state_.block_size > kLongestBlock) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
    const bool whole = fresh && state_.line.empty() && line_end != bytes.npos;
    Result<bool> complete =
        whole && TakeWhole(bytes.substr(0, line_end)) ? EndLine() : Take(bytes.substr(0, taken));
    input.Consume(taken);
    if (!complete || *complete) return complete;
  }
}

bool HeaderLineReader::TakeWhole(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (line.size() > kLongestLine || !IsPlain(line)) return false;
  whole_ = line;
  state_.started = true;
  return true;
}

Result<bool> HeaderLineReader::EndLine() {
  if (++state_.lines > kMostFields) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
  state_.in_line = false;
  return true;
}

Result<bool> HeaderLineReader::Take(std::string_view bytes) {
  for (const char c : bytes) {
    switch (c) {
      case '\0':
        return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
      case '\r':
        continue;
      case '\n':
        if (!state_.started) continue;
        return EndLine();
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

std::string_view HeaderLineReader::line() const {
  return whole_.empty() ? TrimLeft(state_.line) : whole_;
}

}  // namespace qv
