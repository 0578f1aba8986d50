// Sending text and reading text back.
#ifndef QV_TRANSFER_SUBMIT_TEXT_H_
#define QV_TRANSFER_SUBMIT_TEXT_H_

#include <string_view>

#include "frame/error.h"
#include "qvplatform.h"

namespace qv {

struct Session;

inline constexpr std::string_view kTextType = "text/plain";
inline constexpr std::string_view kUtf8TextType = "text/plain; charset=utf-8";

// The contracts of HttpPostTextExA and HttpPostTextExW after the handle check, for text in UTF-8;
// the result code.
Result<INT> PostTextEx(Session& session, std::string_view resource, std::string_view text,
                       LPSTR result, LPDWORD length, UINT code_page, DWORD options);
Result<INT> PostTextExWide(Session& session, std::string_view resource, std::string_view text,
                           LPWSTR result, LPDWORD length, UINT code_page, DWORD options);

}  // namespace qv

#endif  // QV_TRANSFER_SUBMIT_TEXT_H_
