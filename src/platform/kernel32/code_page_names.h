// The code pages that the layer knows, with their names for the character-set converter.
#ifndef PLATFORM_KERNEL32_CODE_PAGE_NAMES_H_
#define PLATFORM_KERNEL32_CODE_PAGE_NAMES_H_

#include <string_view>

#include "platform/kernel32.h"

namespace platform {

inline constexpr UINT CP_GB18030 = 54936;
inline constexpr UINT CP_UTF7 = 65000;

// The converter's name of a code page, null for one that is not known.
const char* ConverterName(UINT code_page) noexcept;

// The code page of a character set by the name that a locale gives it; UTF-8 when in doubt.
UINT CodePageOfCharset(std::string_view charset) noexcept;

// Code pages with shift sequences, which refuse every conversion flag.
bool RefusesFlags(UINT code_page) noexcept;

}  // namespace platform

#endif  // PLATFORM_KERNEL32_CODE_PAGE_NAMES_H_
