// Transfers of files by URL, and the comparison of a local with a remote file.
#ifndef QV_TRANSFER_ONE_CALL_FILE_H_
#define QV_TRANSFER_ONE_CALL_FILE_H_

#include <string_view>

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

struct Session;

enum class FileDirection { kDownload, kUpload };

struct OneCallFile {
  std::string_view local;
  std::string_view url;
  UINT timeout = 0;  // seconds, 0 = the default
  DWORD options = 0;
  HTTPEVENTPROC callback = nullptr;
  DWORD_PTR parameter = 0;
};

// The contracts of HttpDownloadFileEx and HttpUploadFileEx: what became of the transfer.
Result<HTTPTRANSFERSTATUSEX> TransferOneFile(FileDirection direction, const OneCallFile& call);

// The contract of HttpVerifyFile; QV_ERROR_FILE_SIZE_MISMATCH.
Error VerifyFile(Session& session, std::string_view local, std::string_view remote);

}  // namespace qv

#endif  // QV_TRANSFER_ONE_CALL_FILE_H_
