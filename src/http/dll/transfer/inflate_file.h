// Decoding of compressed files.
#ifndef QV_TRANSFER_INFLATE_FILE_H_
#define QV_TRANSFER_INFLATE_FILE_H_

#include <string>

#include "frame/error.h"

namespace qv {

// Replaces the zlib or gzip content of a file by what it decodes to, by way of a temporary file
// beside it; with `convert`, line ends become CR LF. On failure the file stays as it is.
// QV_ERROR_INVALID_FILE_TYPE (malformed or truncated), QV_ERROR_FILE_READ_FAILED,
// QV_ERROR_FILE_WRITE_FAILED, QV_ERROR_FILE_NOT_CREATED.
Error InflateFile(const std::string& path, bool convert);

}  // namespace qv

#endif  // QV_TRANSFER_INFLATE_FILE_H_
