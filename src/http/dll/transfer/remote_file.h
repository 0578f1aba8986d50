// Resources of a server as remote files.
#ifndef QV_TRANSFER_REMOTE_FILE_H_
#define QV_TRANSFER_REMOTE_FILE_H_

#include <cstdint>
#include <string_view>

#include "frame/error.h"
#include "qvplatform.h"

namespace qv {

struct Session;

// Each returns the result code; the contracts are those of the exported functions of these names.
Result<INT> QueryFileSize(Session& session, std::string_view name, uint64_t* size);
Result<INT> QueryFileTime(Session& session, std::string_view name, SYSTEMTIME* time, bool localize);
Result<INT> DeleteRemoteFile(Session& session, std::string_view name);
Result<INT> OpenRemoteFile(Session& session, std::string_view name, uint64_t offset);
Result<INT> CreateRemoteFile(Session& session, std::string_view name, uint64_t length,
                             uint64_t offset);

}  // namespace qv

#endif  // QV_TRANSFER_REMOTE_FILE_H_
