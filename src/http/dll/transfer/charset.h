// Finding out the character set of a text.
#ifndef QV_TRANSFER_CHARSET_H_
#define QV_TRANSFER_CHARSET_H_

#include <optional>
#include <string>
#include <string_view>

#include "frame/error.h"
#include "qvplatform.h"

namespace qv {

// The first of the known code pages under which the whole text is valid; nothing when none fits.
std::optional<UINT> DetectCodePage(std::string_view text);

// The text of a code page as UTF-16. QV_ERROR_INTERNAL_FAILURE when it cannot be converted.
Result<std::u16string> WideFromCodePage(std::string_view text, UINT code_page);

// UTF-16 as text of a code page. QV_ERROR_INVALID_CODEPAGE when it cannot be converted.
Result<std::string> CodePageFromWide(std::u16string_view text, UINT code_page);

}  // namespace qv

#endif  // QV_TRANSFER_CHARSET_H_
