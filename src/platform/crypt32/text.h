// Conversions between the encodings of text that meet here: OpenSSL and files have UTF-8, the
// interface UTF-16 and the ANSI code page.
#ifndef PLATFORM_CRYPT32_TEXT_H_
#define PLATFORM_CRYPT32_TEXT_H_

#include <string>
#include <string_view>

#include "platform/kernel32.h"

namespace platform::crypt32 {

std::u16string ToWide(std::string_view text, UINT code_page);
std::string FromWide(std::u16string_view text, UINT code_page);

// With small letters, also those beyond ASCII, for comparisons without case.
std::u16string Folded(std::u16string text);

}  // namespace platform::crypt32

#endif  // PLATFORM_CRYPT32_TEXT_H_
