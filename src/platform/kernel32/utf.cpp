#include "kernel32/utf.h"

namespace platform {
namespace {

constexpr unsigned char kFirstNonAscii = 0x80;
constexpr char32_t kFirstSupplementary = 0x10000;

// What the lead byte of a sequence says: how many bytes follow, which bits of the lead count, and
// the range of the second byte, which is where overlong forms, surrogates and values that are too
// large show (Unicode table 3-7, well-formed UTF-8 byte sequences).
struct Lead {
  size_t following;  // 0: no lead byte
  unsigned char bits;
  unsigned char second_low;
  unsigned char second_high;
};

constexpr Lead Classify(unsigned char byte) {
  if (byte < 0xC2) return {0, 0, 0, 0};
  if (byte < 0xE0) return {1, 0x1F, 0x80, 0xBF};
  if (byte == 0xE0) return {2, 0x0F, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x0F, 0x80, 0x9F};
  if (byte < 0xF0) return {2, 0x0F, 0x80, 0xBF};
  if (byte == 0xF0) return {3, 0x07, 0x90, 0xBF};
  if (byte < 0xF4) return {3, 0x07, 0x80, 0xBF};
  if (byte == 0xF4) return {3, 0x07, 0x80, 0x8F};
  return {0, 0, 0, 0};
}

struct Decoded {
  char32_t character;
  size_t length;  // bytes taken; for an invalid sequence its longest sound beginning
  bool valid;
};

Decoded DecodeSequence(std::string_view source) {
  const auto byte_at = [&](size_t index) { return static_cast<unsigned char>(source[index]); };
  const Lead lead = Classify(byte_at(0));
  if (lead.following == 0) return {kReplacementCharacter, 1, false};
  char32_t character = byte_at(0) & lead.bits;
  for (size_t index = 1; index <= lead.following; ++index) {
    const unsigned char low = index == 1 ? lead.second_low : 0x80;
    const unsigned char high = index == 1 ? lead.second_high : 0xBF;
    if (index >= source.size() || byte_at(index) < low || byte_at(index) > high) {
      return {kReplacementCharacter, index, false};
    }
    character = (character << 6) | (byte_at(index) & 0x3F);
  }
  return {character, lead.following + 1, true};
}

void PutUtf16(char32_t character, UnitSink<char16_t>& sink) {
  if (character < kFirstSupplementary) {
    sink.Put(static_cast<char16_t>(character));
    return;
  }
  const char32_t offset = character - kFirstSupplementary;
  sink.Put(static_cast<char16_t>(0xD800 + (offset >> 10)));
  sink.Put(static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
}

void PutUtf8(char32_t character, UnitSink<char>& sink) {
  const auto put_tail = [&](int shift) {
    sink.Put(static_cast<char>(0x80 | ((character >> shift) & 0x3F)));
  };
  if (character < kFirstNonAscii) {
    sink.Put(static_cast<char>(character));
  } else if (character < 0x800) {
    sink.Put(static_cast<char>(0xC0 | (character >> 6)));
    put_tail(0);
  } else if (character < kFirstSupplementary) {
    sink.Put(static_cast<char>(0xE0 | (character >> 12)));
    put_tail(6);
    put_tail(0);
  } else {
    sink.Put(static_cast<char>(0xF0 | (character >> 18)));
    put_tail(12);
    put_tail(6);
    put_tail(0);
  }
}

}  // namespace

bool ConvertUtf8ToUtf16(std::string_view source, UnitSink<char16_t>& sink) noexcept {
  bool valid = true;
  for (size_t position = 0; position < source.size();) {
    const auto byte = static_cast<unsigned char>(source[position]);
    if (byte < kFirstNonAscii) {
      sink.Put(byte);
      ++position;
      continue;
    }
    const Decoded decoded = DecodeSequence(source.substr(position));
    PutUtf16(decoded.character, sink);
    position += decoded.length;
    valid = valid && decoded.valid;
  }
  return valid;
}

bool ConvertUtf16ToUtf8(std::u16string_view source, UnitSink<char>& sink) noexcept {
  bool valid = true;
  for (size_t position = 0; position < source.size(); ++position) {
    const char16_t unit = source[position];
    if (IsHighSurrogate(unit) && position + 1 < source.size() &&
        IsLowSurrogate(source[position + 1])) {
      const char32_t high = unit & 0x3FFu;
      const char32_t low = source[++position] & 0x3FFu;
      PutUtf8(kFirstSupplementary + (high << 10) + low, sink);
    } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
      PutUtf8(kReplacementCharacter, sink);
      valid = false;
    } else {
      PutUtf8(unit, sink);
    }
  }
  return valid;
}

std::u16string Utf16FromUtf8(std::string_view source, bool* valid) {
  std::u16string target(source.size(), u'\0');  // never more units than bytes
  UnitSink<char16_t> sink(target.data(), target.size());
  const bool sound = ConvertUtf8ToUtf16(source, sink);
  if (valid != nullptr) *valid = sound;
  target.resize(sink.count());
  return target;
}

std::string Utf8FromUtf16(std::u16string_view source, bool* valid) {
  constexpr size_t kMaxBytesPerUnit = 3;
  std::string target(source.size() * kMaxBytesPerUnit, '\0');
  UnitSink<char> sink(target.data(), target.size());
  const bool sound = ConvertUtf16ToUtf8(source, sink);
  if (valid != nullptr) *valid = sound;
  target.resize(sink.count());
  return target;
}

}  // namespace platform
