#include "transport/dotted_address.h"

#include <cstdint>
#include <limits>

#include "frame/text.h"

namespace qv {
namespace {

constexpr int kParts = 4;
constexpr int kByteBits = 8;
constexpr uint64_t kMaxByte = 0xFF;
constexpr uint64_t kDecimal = 10;
constexpr uint64_t kHexadecimal = 16;

constexpr bool EndsAddress(char c) {
  return c == '\0' || c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Reads one number and moves `text` behind it; false when there is none or it has more than 32
// bits.
bool ReadPart(const char** text, uint64_t* value) {
  const char* at = *text;
  const bool hexadecimal = at[0] == '0' && (at[1] == 'x' || at[1] == 'X');
  if (hexadecimal) at += 2;
  const char* const first = at;
  *value = 0;
  while (hexadecimal ? HexValue(*at) >= 0 : IsDigit(*at)) {
    const auto digit = static_cast<uint64_t>(HexValue(*at));
    *value = *value * (hexadecimal ? kHexadecimal : kDecimal) + digit;
    if (*value > std::numeric_limits<uint32_t>::max()) return false;
    ++at;
  }
  *text = at;
  return at != first;
}

}  // namespace

bool ParseDottedAddress(const char* text, BYTE* bytes) {
  uint64_t address = 0;
  for (int part = 0; part < kParts; ++part) {
    uint64_t value = 0;
    if (!ReadPart(&text, &value)) return false;
    const int bits_left = (kParts - part) * kByteBits;
    if (EndsAddress(*text)) {
      if (value >> bits_left != 0) return false;
      address |= value;
      for (int i = 0; i < kParts; ++i) {
        bytes[i] = static_cast<BYTE>(address >> ((kParts - 1 - i) * kByteBits) & kMaxByte);
      }
      return true;
    }
    if (*text != '.' || value > kMaxByte) return false;
    ++text;
    address |= value << (bits_left - kByteBits);
  }
  return false;
}

}  // namespace qv
