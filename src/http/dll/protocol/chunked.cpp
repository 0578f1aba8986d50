#include "protocol/chunked.h"

#include <limits>
#include <string>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/header_line_reader.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

constexpr std::size_t kLongestSizeLine = 255;
constexpr std::size_t kMostBlankLines = 8;  // one ends the data of the chunk before

struct SizeLine {
  char text[kLongestSizeLine];
  std::size_t length = 0;
  std::size_t blank_lines = 0;
  bool ended = false;  // the connection ended before the line did
};

// Takes bytes up to the line end; whether it was there. The CR LF behind the data of the chunk
// before is an empty line, which is skipped.
Result<bool> TakeLine(std::string_view bytes, SizeLine& line, std::size_t& taken) {
  for (taken = 0; taken < bytes.size();) {
    const char c = bytes[taken++];
    if (c == '\n' && line.length > 0 && line.text[line.length - 1] == '\r') {
      --line.length;
      if (line.length > 0) return true;
      if (++line.blank_lines > kMostBlankLines) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
      continue;
    }
    if (line.length == kLongestSizeLine) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
    line.text[line.length++] = c;
  }
  return false;
}

Error ReadLine(Session& session, SizeLine& line) {
  ReceiveBuffer& input = session.connection.input;
  while (true) {
    Result<INT> waiting = FillInput(session);
    if (!waiting) return waiting.error();
    if (Error error = session.CheckAlive()) return error;
    if (*waiting == 0) {
      line.ended = true;
      return line.length > 0 ? Error(QV_ERROR_CONNECTION_CLOSED) : kNoError;
    }
    std::size_t taken = 0;
    Result<bool> complete = TakeLine(input.view(), line, taken);
    input.Consume(taken);
    if (!complete) return complete.error();
    if (*complete) return kNoError;
  }
}

// The hexadecimal number at the start of the line; 0 without one, as in an empty line.
Result<uint32_t> ParseSize(Session& session, std::string_view line) {
  constexpr int kDigitBits = 4;
  uint32_t size = 0;
  if (line.empty() || HexValue(line.front()) < 0) session.response.reusable = false;
  for (char c : line) {
    const int digit = HexValue(c);
    if (digit < 0) break;
    if (size > std::numeric_limits<uint32_t>::max() >> kDigitBits) {
      return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
    }
    size = size << kDigitBits | static_cast<uint32_t>(digit);
  }
  return size;
}

Error ReadTrailer(Session& session) {
  HeaderBlockState state;
  state.started = true;  // an empty line ends the section at once
  HeaderLineReader reader(session, state);
  while (true) {
    Result<bool> complete = reader.Next();
    if (!complete) return complete.error();
    if (!*complete || reader.line().empty()) return kNoError;
    const std::string_view line = reader.line();
    const std::size_t colon = line.find(':');
    if (colon == line.npos) continue;
    const std::string_view name = TrimRight(line.substr(0, colon));
    const std::string_view value = TrimLeft(line.substr(colon + 1));
    if (!name.empty() && !value.empty()) session.response.headers.Append(name, value);
  }
}

}  // namespace

Result<uint32_t> ReadChunkSize(Session& session) {
  SizeLine line;
  if (Error error = ReadLine(session, line)) return error;
  if (line.ended) return uint32_t{0};
  Result<uint32_t> size = ParseSize(session, {line.text, line.length});
  if (!size || *size > 0) return size;
  if (Error error = ReadTrailer(session)) return error;
  return uint32_t{0};
}

}  // namespace qv
