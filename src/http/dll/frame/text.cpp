#include "frame/text.h"

#include <algorithm>
#include <limits>

namespace qv {

std::string_view TrimLeft(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view TrimRight(std::string_view text) {
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && StartsWithNoCase(a, b);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(),
                    [](char a, char b) { return ToLower(a) == ToLower(b); });
}

std::string ToLowerCopy(std::string_view text) {
  std::string copy(text);
  std::transform(copy.begin(), copy.end(), copy.begin(), ToLower);
  return copy;
}

std::string ToUpperCopy(std::string_view text) {
  std::string copy(text);
  std::transform(copy.begin(), copy.end(), copy.begin(), ToUpper);
  return copy;
}

std::optional<uint64_t> ParseLeadingDecimal(std::string_view text) {
  if (text.empty() || !IsDigit(text.front())) return std::nullopt;
  constexpr uint64_t kBase = 10;
  uint64_t value = 0;
  for (char c : text) {
    if (!IsDigit(c)) break;
    const auto digit = static_cast<uint64_t>(c - '0');
    if (value > (std::numeric_limits<uint64_t>::max() - digit) / kBase) return std::nullopt;
    value = value * kBase + digit;
  }
  return value;
}

}  // namespace qv
