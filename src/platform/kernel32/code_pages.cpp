// Code-page conversion: checks, UTF-8 by the code in utf.h, everything else by the converter.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

#include "kernel32/charset_converter.h"
#include "kernel32/code_page_names.h"
#include "kernel32/utf.h"
#include "platform/kernel32.h"

namespace {

int FailWith(DWORD error) {
  SetLastError(error);
  return 0;
}

UINT Resolve(UINT code_page) {
  return code_page == CP_ACP || code_page == CP_THREAD_ACP ? GetACP() : code_page;
}

// 0, or the error for a call with these flags.
DWORD CheckDecodeFlags(UINT code_page, DWORD flags) {
  if (platform::RefusesFlags(code_page)) return flags == 0 ? ERROR_SUCCESS : ERROR_INVALID_FLAGS;
  const bool only_strict = code_page == CP_UTF8 || code_page == platform::CP_GB18030;
  const DWORD allowed = MB_ERR_INVALID_CHARS | (only_strict ? 0 : MB_PRECOMPOSED);
  return (flags & ~allowed) == 0 ? ERROR_SUCCESS : ERROR_INVALID_FLAGS;
}

template <typename Unit>
std::basic_string_view<Unit> SourceView(const Unit* source, int length) {
  if (length >= 0) return {source, static_cast<size_t>(length)};
  return {source, std::char_traits<Unit>::length(source) + 1};  // with the terminator
}

template <typename Unit>
int Deliver(const std::basic_string<Unit>& text, Unit* target, int capacity) {
  if (text.size() > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  if (capacity == 0) return static_cast<int>(text.size());
  if (text.size() > static_cast<size_t>(capacity)) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  std::copy(text.begin(), text.end(), target);
  return static_cast<int>(text.size());
}

// The result of a conversion that wrote into the caller's buffer as far as there was room.
int Counted(size_t count, int capacity) {
  if (count > static_cast<size_t>(std::numeric_limits<int>::max())) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  if (capacity > 0 && count > static_cast<size_t>(capacity)) {
    return FailWith(ERROR_INSUFFICIENT_BUFFER);
  }
  return static_cast<int>(count);
}

bool ArgumentsAreSound(const void* source, int length, const void* target, int capacity) {
  return source != nullptr && length >= -1 && length != 0 && capacity >= 0 &&
         (capacity == 0 || target != nullptr) && source != target;
}

}  // namespace

UINT WINAPI GetACP(void) noexcept {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    std::string_view locale = value;
    locale = locale.substr(0, locale.find('@'));
    const size_t dot = locale.find('.');
    return dot == std::string_view::npos ? CP_UTF8
                                         : platform::CodePageOfCharset(locale.substr(dot + 1));
  }
  return CP_UTF8;
}

BOOL WINAPI IsValidCodePage(UINT code_page) noexcept {
  return code_page == CP_UTF8 || platform::HasConverter(code_page) ? TRUE : FALSE;
}

int WINAPI MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR source, int source_bytes,
                               LPWSTR target, int capacity) noexcept {
  if (!ArgumentsAreSound(source, source_bytes, target, capacity)) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  const UINT page = Resolve(code_page);
  if (const DWORD error = CheckDecodeFlags(page, flags); error != 0) return FailWith(error);
  const bool strict = (flags & MB_ERR_INVALID_CHARS) != 0;
  const std::string_view bytes = SourceView(source, source_bytes);
  if (page == CP_UTF8) {
    platform::UnitSink<char16_t> sink(target, static_cast<size_t>(capacity));
    const bool valid = platform::ConvertUtf8ToUtf16(bytes, sink);
    if (!valid && strict) return FailWith(ERROR_NO_UNICODE_TRANSLATION);
    return Counted(sink.count(), capacity);
  }
  std::u16string text;
  bool valid = true;
  if (!platform::DecodeCodePage(page, bytes, &text, &valid)) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  if (!valid && strict) return FailWith(ERROR_NO_UNICODE_TRANSLATION);
  return Deliver(text, target, capacity);
}

int WINAPI WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR source, int source_chars,
                               LPSTR target, int capacity, LPCSTR default_char,
                               LPBOOL used_default) noexcept {
  if (!ArgumentsAreSound(source, source_chars, target, capacity)) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  const UINT page = Resolve(code_page);
  const bool unicode = page == CP_UTF8 || page == platform::CP_UTF7;
  if (unicode && (default_char != nullptr || used_default != nullptr)) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  constexpr DWORD kNoBestFit = 0x400;  // WC_NO_BEST_FIT_CHARS: there are none here
  const DWORD allowed = page == CP_UTF8                ? WC_ERR_INVALID_CHARS
                        : platform::RefusesFlags(page) ? 0
                                                       : kNoBestFit;
  if ((flags & ~allowed) != 0) return FailWith(ERROR_INVALID_FLAGS);
  const std::u16string_view text = SourceView(source, source_chars);
  if (page == CP_UTF8) {
    platform::UnitSink<char> sink(target, static_cast<size_t>(capacity));
    const bool valid = platform::ConvertUtf16ToUtf8(text, sink);
    if (!valid && flags != 0) return FailWith(ERROR_NO_UNICODE_TRANSLATION);
    return Counted(sink.count(), capacity);
  }
  std::string bytes;
  bool defaulted = false;
  if (!platform::EncodeCodePage(page, text, default_char, &bytes, &defaulted)) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  if (used_default != nullptr) *used_default = defaulted ? TRUE : FALSE;
  return Deliver(bytes, target, capacity);
}

int WINAPI lstrlenW(LPCWSTR text) noexcept {
  return text != nullptr ? static_cast<int>(std::char_traits<WCHAR>::length(text)) : 0;
}
