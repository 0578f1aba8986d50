#include "url/encoder.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "frame/text.h"

namespace qv {
namespace {

constexpr std::string_view kSpecialCharacters = "\"#%<>?[\\]^`{|}";
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr INT kEscapeRoom = 4;  // "%xx" and the terminator
constexpr std::size_t kLongestInput = std::numeric_limits<INT>::max() / 3 - 512;

constexpr bool IsPrintable(char c) { return c > 32 && c < 127; }

bool StartsEscape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && HexValue(text[1]) >= 0 && HexValue(text[2]) >= 0;
}

// Whether the first character of `rest` is copied as it is.
bool IsCopied(EncodeMode mode, std::string_view rest) {
  const char c = rest.front();
  if (!IsPrintable(c)) return c == ' ' && mode == EncodeMode::kXml;
  switch (c) {
    case '%':
      return StartsEscape(rest);
    case '&':
    case '=':
      return mode != EncodeMode::kPath;
    case '.':
    case '-':
    case '_':
    case '/':
      return mode != EncodeMode::kData;
    default:
      return kSpecialCharacters.find(c) == kSpecialCharacters.npos;
  }
}

Result<INT> EncodePercent(EncodeMode mode, std::string_view input, LPSTR output, INT capacity) {
  INT count = 0;
  for (; !input.empty(); input.remove_prefix(1)) {
    if (count >= capacity) return Error();
    const auto byte = static_cast<unsigned char>(input.front());
    if (IsCopied(mode, input)) {
      output[count++] = input.front();
      continue;
    }
    if (capacity - count < kEscapeRoom) return Error(QV_ERROR_BUFFER_TOO_SMALL);
    output[count++] = '%';
    output[count++] = kHexDigits[byte >> 4];
    output[count++] = kHexDigits[byte & 0xF];
  }
  if (count >= capacity) return Error();
  output[count] = '\0';
  return count;
}

// The four digits of up to three bytes.
void EncodeGroup(std::string_view bytes, char (&digits)[4]) {
  uint32_t group = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    group = group << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u);
  }
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t digit = group >> (18 - 6 * i) & 0x3F;
    digits[i] = i <= bytes.size() ? kBase64Digits[digit] : '=';
  }
}

Result<INT> EncodeBase64(std::string_view input, LPSTR output, INT capacity) {
  INT count = 0;
  while (!input.empty()) {
    char digits[4];
    EncodeGroup(input.substr(0, 3), digits);
    input.remove_prefix(std::min<std::size_t>(3, input.size()));
    if (capacity - count <= 4) return Error();
    for (char digit : digits) output[count++] = digit;
  }
  output[count] = '\0';
  return count;
}

}  // namespace

Result<INT> Encode(EncodeMode mode, std::string_view input, LPSTR output, INT capacity) {
  if (output == nullptr || capacity < 1 || input.data() == nullptr) return Error();
  *output = '\0';
  if (input.empty()) return 0;
  if (static_cast<std::size_t>(capacity) < input.size() + input.size() / 2 + 1) return Error();
  switch (mode) {
    case EncodeMode::kBase64:
      return EncodeBase64(input, output, capacity);
    case EncodeMode::kPath:
    case EncodeMode::kData:
    case EncodeMode::kXml:
      return EncodePercent(mode, input, output, capacity);
  }
  return Error();
}

std::optional<std::string> EncodeText(EncodeMode mode, std::string_view input) {
  if (input.empty()) return std::string();
  if (input.size() > kLongestInput) return std::nullopt;
  constexpr std::size_t kSpare = 8;
  std::string text(input.size() * 3 + kSpare, '\0');
  Result<INT> length = Encode(mode, input, text.data(), static_cast<INT>(text.size()));
  if (!length) return std::nullopt;
  text.resize(static_cast<std::size_t>(*length));
  return text;
}

bool NeedsEncoding(std::string_view text) {
  for (; !text.empty(); text.remove_prefix(1)) {
    const char c = text.front();
    if (c == '%') {
      if (!StartsEscape(text)) return true;
    } else if (!IsPrintable(c) || kSpecialCharacters.find(c) != kSpecialCharacters.npos) {
      return true;
    }
  }
  return false;
}

}  // namespace qv
