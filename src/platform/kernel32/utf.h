// UTF-8 and UTF-16, strictly: overlong forms, surrogates in UTF-8 and values above U+10FFFF are
// invalid.
#ifndef PLATFORM_KERNEL32_UTF_H_
#define PLATFORM_KERNEL32_UTF_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// A buffer that counts what did not fit, so that measuring and writing are one pass of one code.
template <typename Unit>
class UnitSink {
 public:
  UnitSink(Unit* target, size_t capacity) : target_(target), capacity_(capacity) {}
  void Put(Unit unit) {
    if (count_ < capacity_) target_[count_] = unit;
    ++count_;
  }
  size_t count() const { return count_; }

 private:
  Unit* target_;
  size_t capacity_;
  size_t count_ = 0;
};

// Convert and put U+FFFD for what is invalid; false when anything was.
bool ConvertUtf8ToUtf16(std::string_view source, UnitSink<char16_t>& sink) noexcept;
bool ConvertUtf16ToUtf8(std::u16string_view source, UnitSink<char>& sink) noexcept;

// The same into strings. *valid, if given, tells whether all of the source was.
std::u16string Utf16FromUtf8(std::string_view source, bool* valid = nullptr);
std::string Utf8FromUtf16(std::u16string_view source, bool* valid = nullptr);

inline bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
inline bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace platform

#endif  // PLATFORM_KERNEL32_UTF_H_
