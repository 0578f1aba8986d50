// Code pages other than UTF-8, by the C library's character-set converter.
#ifndef PLATFORM_KERNEL32_CHARSET_CONVERTER_H_
#define PLATFORM_KERNEL32_CHARSET_CONVERTER_H_

#include <string>
#include <string_view>

#include "platform/kernel32.h"

namespace platform {

// Whether the converter for a code page is there, in both directions.
bool HasConverter(UINT code_page) noexcept;

// Converts and puts U+FFFD for what is invalid; *valid tells whether all of it was valid. Both
// return false when there is no converter.
bool DecodeCodePage(UINT code_page, std::string_view source, std::u16string* target, bool* valid);

// Converts and puts the default character ("?" when it is null) for what the code page lacks;
// *used_default tells whether it had to.
bool EncodeCodePage(UINT code_page, std::u16string_view source, LPCSTR default_char,
                    std::string* target, bool* used_default);

}  // namespace platform

#endif  // PLATFORM_KERNEL32_CHARSET_CONVERTER_H_
