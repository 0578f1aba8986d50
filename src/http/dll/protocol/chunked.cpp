#include "protocol/chunked.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <limits>
#include <string_view>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/header_line_reader.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

constexpr std::size_t kLongestSizeLine = 255;
constexpr std::size_t kMostBlankLines = 8;  // one ends the data of the chunk before
constexpr std::string_view kLineEnd = "\r\n";

constexpr auto kHexValues = [] {  // above 15: no digit
  std::array<unsigned char, 256> values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<unsigned char>(HexValue(static_cast<char>(i)));
  }
  return values;
}();

// A line at the front of the input.
struct SizeLine {
  std::string_view text;
  std::size_t end = 0;  // bytes up to behind its line end; 0 while that has not come
};

// The CR LF behind the data of the chunk before is an empty line, which is skipped.
Result<SizeLine> FindLine(std::string_view bytes) {
  std::size_t begin = 0;
  while (bytes.substr(begin).starts_with(kLineEnd)) {
    begin += kLineEnd.size();
    if (begin > kMostBlankLines * kLineEnd.size()) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
  }
  const std::string_view rest = bytes.substr(begin, kLongestSizeLine + 1);
  for (std::size_t at = rest.find('\n'); at != rest.npos; at = rest.find('\n', at + 1)) {
    if (at > 0 && rest[at - 1] == '\r') return SizeLine{rest.substr(0, at - 1), begin + at + 1};
  }
  if (rest.size() > kLongestSizeLine) return Error(QV_ERROR_INVALID_SERVER_RESPONSE);
  return SizeLine{rest, 0};
}

// A size line as nearly all are: the line end of the chunk before, a few digits, a line end. The
// size is 0 for any other one.
ChunkLine FindPlainLine(std::string_view bytes) {
  constexpr int kDigitBits = 4;
  constexpr uint32_t kDigits = 1U << kDigitBits;
  constexpr std::ptrdiff_t kMostDigits = 7;  // they fit, whatever they are
  if (bytes.size() < 2 * kLineEnd.size()) return {};
  const char* digits = bytes.data();
  const char* const last = bytes.data() + bytes.size() - 1;
  if (digits[0] == '\r' && digits[1] == '\n') digits += kLineEnd.size();
  uint32_t size = 0;
  const char* at = digits;
  for (; at < last; ++at) {
    const uint32_t digit = kHexValues[static_cast<unsigned char>(*at)];
    if (digit >= kDigits) break;
    size = size << kDigitBits | digit;
  }
  if (at >= last || at[0] != '\r' || at[1] != '\n' || at - digits > kMostDigits) return {};
  return {size, static_cast<std::size_t>(at - bytes.data()) + kLineEnd.size()};
}

// The hexadecimal number at the start of the line; 0 without one.
Result<uint32_t> ParseSize(std::string_view line) {
  constexpr int kDigitBits = 4;
  uint32_t size = 0;
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

// Waits for a whole line; one without end means that the connection ended before it.
Result<SizeLine> AwaitLine(Session& session) {
  while (true) {
    Result<SizeLine> line = FindLine(session.connection.input.view());
    if (!line || line->end > 0) return line;
    const bool begun = !line->text.empty();
    Result<INT> received = FillMore(session);
    if (!received) return received.error();
    if (Error error = session.CheckAlive()) return error;
    if (*received == 0) return begun ? Error(QV_ERROR_CONNECTION_CLOSED) : Result(SizeLine{});
  }
}

// Fields that say how a message is framed or what its body is cannot come behind it (RFC 9110
// section 6.5.1).
bool BelongsInHeader(std::string_view name) {
  constexpr std::string_view kNames[] = {"Connection",    "Content-Encoding",  "Content-Length",
                                         "Content-Range", "Content-Type",      "Location",
                                         "Trailer",       "Transfer-Encoding", "Upgrade"};
  return std::any_of(std::begin(kNames), std::end(kNames),
                     [&](std::string_view other) { return EqualsNoCase(name, other); });
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
    if (name.empty() || value.empty() || BelongsInHeader(name)) continue;
    session.response.headers.Append(name, value);
  }
}

}  // namespace

ChunkLine FindChunkLine(std::string_view received) {
  if (const ChunkLine plain = FindPlainLine(received); plain.size > 0) return plain;
  const Result<SizeLine> line = FindLine(received);
  if (!line || line->end == 0) return {};
  const Result<uint32_t> size = ParseSize(line->text);
  if (!size || *size == 0) return {};
  return {*size, line->end};
}

Result<uint32_t> ReadChunkSize(Session& session) {
  BodyFraming& framing = session.response.framing;
  Result<SizeLine> line = AwaitLine(session);
  if (!line) return line.error();
  if (line->end == 0) return uint32_t{0};
  Result<uint32_t> size = ParseSize(line->text);
  if (!size) return size;
  if (HexValue(line->text.front()) < 0) session.response.reusable = false;
  session.connection.input.Consume(line->end);
  framing.remaining = *size;
  if (*size > 0) return size;
  if (Error error = ReadTrailer(session)) return error;
  framing.complete = true;
  return size;
}

}  // namespace qv
