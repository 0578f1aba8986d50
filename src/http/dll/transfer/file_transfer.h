// Moving resources to and from local files.
#ifndef QV_TRANSFER_FILE_TRANSFER_H_
#define QV_TRANSFER_FILE_TRANSFER_H_

#include <cstdint>
#include <string_view>

#include "frame/error.h"

namespace qv {

struct Session;

// The contracts of HttpGetFileEx, HttpPutFileEx and HttpPostFile; the result code.
Result<INT> DownloadToFile(Session& session, std::string_view local, std::string_view remote,
                           DWORD options, uint64_t offset);
Result<INT> UploadFromFile(Session& session, std::string_view local, std::string_view remote,
                           DWORD options, uint64_t offset);
Result<INT> PostFromFile(Session& session, std::string_view local, std::string_view resource,
                         std::string_view field, DWORD options, DWORD reserved);

}  // namespace qv

#endif  // QV_TRANSFER_FILE_TRANSFER_H_
