#include "crypt32/text.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

namespace platform::crypt32 {

std::u16string ToWide(std::string_view text, UINT code_page) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(code_page, 0, text.data(), length, nullptr, 0);
  std::u16string wide(static_cast<std::size_t>(std::max(size, 0)), u'\0');
  MultiByteToWideChar(code_page, 0, text.data(), length, wide.data(), size);
  return wide;
}

std::string FromWide(std::u16string_view text, UINT code_page) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(code_page, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(std::max(size, 0)), '\0');
  WideCharToMultiByte(code_page, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
  return narrow;
}

std::u16string Folded(std::u16string text) {
  // The program's own locale may know ASCII only.
  static const locale_t utf8_locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  const auto fold = [](char16_t unit) {
    const auto letter = static_cast<wint_t>(unit);
    const wint_t small =
        utf8_locale != nullptr ? towlower_l(letter, utf8_locale) : towlower(letter);
    return static_cast<char16_t>(small);
  };
  std::transform(text.begin(), text.end(), text.begin(), fold);
  return text;
}

}  // namespace platform::crypt32
