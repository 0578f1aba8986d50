#include "url/encoder.h"

#include <algorithm>
#include <limits>

#include "frame/text.h"

namespace qv {
namespace {

constexpr char kFirstPrintable = 33;
constexpr char kLastPrintable = 126;
constexpr std::string_view kSpecialCharacters = "\"#%<>?[\\]^`{|}";
constexpr std::size_t kEscapeLength = 3;  // "%" and two digits
constexpr std::string_view kEscapeDigits = "0123456789abcdef";

constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kBase64InputGroup = 3;
constexpr std::size_t kBase64OutputGroup = 4;
constexpr unsigned kBase64DigitBits = 6;
constexpr unsigned kBase64DigitMask = 0x3F;

constexpr unsigned kByteBits = 8;
constexpr unsigned kHalfByteBits = 4;
constexpr unsigned kHalfByteMask = 0x0F;

constexpr bool IsPrintable(char c) { return c >= kFirstPrintable && c <= kLastPrintable; }
constexpr bool IsSpecial(char c) { return kSpecialCharacters.find(c) != std::string_view::npos; }

bool StartsWithEscape(std::string_view text) {
  return text.size() >= kEscapeLength && text[0] == '%' && HexValue(text[1]) >= 0 &&
         HexValue(text[2]) >= 0;
}

// Whether the first character of `rest` goes into the output as it is.
bool IsCopied(EncodeMode mode, std::string_view rest) {
  const char c = rest.front();
  if (c == ' ') return mode == EncodeMode::kXml;
  if (!IsPrintable(c)) return false;
  switch (c) {
    case '%':
      return StartsWithEscape(rest);
    case '&':
    case '=':
      return mode != EncodeMode::kPath;
    case '.':
    case '-':
    case '_':
    case '/':
      return mode != EncodeMode::kData;
    default:
      return !IsSpecial(c);
  }
}

Result<INT> EncodePercent(EncodeMode mode, std::string_view input, LPSTR output,
                          std::size_t capacity) {
  std::size_t count = 0;
  for (; !input.empty(); input.remove_prefix(1)) {
    const std::size_t room = capacity - count - 1;  // besides the terminator
    const char c = input.front();
    if (IsCopied(mode, input)) {
      if (room == 0) return kNoError;
      output[count++] = c;
    } else {
      if (room < kEscapeLength) return Error(QV_ERROR_BUFFER_TOO_SMALL);
      const unsigned byte = static_cast<unsigned char>(c);
      output[count++] = '%';
      output[count++] = kEscapeDigits[byte >> kHalfByteBits];
      output[count++] = kEscapeDigits[byte & kHalfByteMask];
    }
  }
  output[count] = '\0';
  return static_cast<INT>(count);
}

Result<INT> EncodeBase64(std::string_view input, LPSTR output, std::size_t capacity) {
  std::size_t count = 0;
  while (!input.empty()) {
    if (capacity - count <= kBase64OutputGroup) return kNoError;
    const std::string_view group = input.substr(0, kBase64InputGroup);
    input.remove_prefix(group.size());
    unsigned bits = 0;
    for (std::size_t i = 0; i < kBase64InputGroup; ++i) {
      bits = bits << kByteBits | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
    }
    // One more digit than there are bytes, then padding.
    for (std::size_t i = 0; i < kBase64OutputGroup; ++i) {
      const auto shift = static_cast<unsigned>(kBase64OutputGroup - 1 - i) * kBase64DigitBits;
      output[count++] = i <= group.size() ? kBase64Alphabet[bits >> shift & kBase64DigitMask] : '=';
    }
  }
  output[count] = '\0';
  return static_cast<INT>(count);
}

}  // namespace

Result<INT> Encode(EncodeMode mode, std::string_view input, LPSTR output, INT capacity) {
  if (input.data() == nullptr || output == nullptr || capacity < 1) return kNoError;
  const auto room = static_cast<std::size_t>(capacity);
  if (input.empty()) {
    *output = '\0';
    return 0;
  }
  if (room < input.size() + input.size() / 2 + 1) return kNoError;
  switch (mode) {
    case EncodeMode::kBase64:
      return EncodeBase64(input, output, room);
    case EncodeMode::kPath:
    case EncodeMode::kData:
    case EncodeMode::kXml:
      return EncodePercent(mode, input, output, room);
  }
  return kNoError;
}

std::optional<std::string> EncodeText(EncodeMode mode, std::string_view text) {
  if (text.empty()) return std::string();
  constexpr std::size_t kLongest = std::numeric_limits<INT>::max() / kEscapeLength - 1;
  if (text.size() > kLongest) return std::nullopt;
  // Only a single byte grows more in Base64 than by being escaped.
  const std::size_t length = std::max(text.size() * kEscapeLength, kBase64OutputGroup);
  std::string encoded(length + 1, '\0');
  const Result<INT> written = Encode(mode, text, encoded.data(), static_cast<INT>(encoded.size()));
  if (!written) return std::nullopt;
  encoded.resize(static_cast<std::size_t>(*written));
  return encoded;
}

bool NeedsEncoding(std::string_view text) {
  for (; !text.empty(); text.remove_prefix(1)) {
    const char c = text.front();
    if (c == '%' ? !StartsWithEscape(text) : !IsPrintable(c) || IsSpecial(c)) return true;
  }
  return false;
}

}  // namespace qv
