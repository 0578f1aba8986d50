// Small text operations in the C locale, for protocol text.
#ifndef QV_FRAME_TEXT_H_
#define QV_FRAME_TEXT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qv {

// Space, tab, CR, LF, VT and FF.
constexpr bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
constexpr char ToUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

// The value of a hexadecimal digit, -1 for any other character.
constexpr int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string_view TrimLeft(std::string_view text);
std::string_view TrimRight(std::string_view text);
inline std::string_view Trim(std::string_view text) { return TrimLeft(TrimRight(text)); }

bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
std::string ToLowerCopy(std::string_view text);
std::string ToUpperCopy(std::string_view text);

// The decimal number at the start of a text (at least one digit, the rest is ignored); nothing when
// there is none or it does not fit.
std::optional<uint64_t> ParseLeadingDecimal(std::string_view text);

// A NULL pointer counts as an empty text.
inline std::string_view TextOf(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

}  // namespace qv

#endif  // QV_FRAME_TEXT_H_
