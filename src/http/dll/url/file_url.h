// "file:" URLs as names of local files (RFC 8089 and older forms).
#ifndef QV_URL_FILE_URL_H_
#define QV_URL_FILE_URL_H_

#include <string>
#include <string_view>

#include "frame/error.h"

namespace qv {

// How a file URL is read.
enum FileUrlOptions : DWORD {
  kFileUrlDefault = 0,
  kFileUrlStrict = 0x1,     // "file://" with forward slashes and "C:" drives only
  kFileUrlLowerCase = 0x2,  // the result in lower case
  kFileUrlExpand = 0x4,     // %NAME% references in the path are expanded
};

// The full local path, in the platform's form, that a file URL names. QV_ERROR_INVALID_PARAMETER
// (no file URL, or a character that no path has), QV_ERROR_BUFFER_TOO_SMALL (nothing behind
// "file:", or too long), QV_ERROR_INVALID_CHARSET (a bad escape or a byte beyond ASCII),
// QV_ERROR_INVALID_FILE_TYPE (a device name), QV_ERROR_INVALID_FILE_NAME.
Result<std::string> LocalPathOfFileUrl(std::string_view url, DWORD options);

// Whether a text begins with "file:/" after white space and a quote.
bool IsFileUrl(std::string_view text);

}  // namespace qv

#endif  // QV_URL_FILE_URL_H_
