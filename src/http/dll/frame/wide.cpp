#include "frame/wide.h"

#include <algorithm>

#include "platform/kernel32.h"

namespace qv {
namespace {

// One UTF-16 code unit is at most three bytes of UTF-8 (a surrogate pair four for its two).
constexpr int kUtf8PerUnit = 3;

// No text of the library is longer; a caller who names a larger capacity costs no memory for it.
constexpr INT kMostUnits = INT{1} << 20;

constexpr bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }

std::optional<std::u16string> ToWide(std::string_view text, DWORD flags) {
  if (text.empty()) return std::u16string();
  const int bytes = static_cast<int>(text.size());
  std::u16string wide(text.size(), u'\0');  // never more units than bytes
  const int length = MultiByteToWideChar(CP_UTF8, flags, text.data(), bytes, wide.data(), bytes);
  if (length <= 0) return std::nullopt;
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

}  // namespace

std::string Utf8FromWide(std::u16string_view text) {
  if (text.empty()) return {};
  std::string narrow(text.size() * kUtf8PerUnit, '\0');
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(std::max(length, 0)));
  return narrow;
}

std::u16string WideFromUtf8(std::string_view text) { return ToWide(text, 0).value_or(u""); }

std::optional<std::u16string> WideFromUtf8Strict(std::string_view text) {
  return ToWide(text, MB_ERR_INVALID_CHARS);
}

NarrowText::NarrowText(LPCWSTR text) : present_(text != nullptr) {
  if (text != nullptr) text_ = Utf8FromWide(text);
}

NarrowBuffer::NarrowBuffer(LPCWSTR target, INT capacity) : present_(target != nullptr) {
  const auto units = static_cast<std::size_t>(std::clamp(capacity, 0, kMostUnits));
  bytes_.resize(units * kUtf8PerUnit + 1);
}

INT NarrowBuffer::capacity() const { return present_ ? static_cast<INT>(bytes_.size() - 1) : 0; }

INT CopyWide(std::u16string_view text, LPWSTR target, INT capacity) {
  if (target == nullptr || capacity < 1) return 0;
  std::size_t length = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
  if (length > 0 && length < text.size() && IsHighSurrogate(text[length - 1])) --length;
  std::copy_n(text.data(), length, target);
  target[length] = u'\0';
  return static_cast<INT>(length);
}

INT CopyText(std::string_view text, LPSTR target, INT capacity) {
  if (target == nullptr || capacity < 1) return 0;
  const std::size_t length = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
  text.copy(target, length);
  target[length] = '\0';
  return static_cast<INT>(length);
}

}  // namespace qv
