// New files for a queue: arguments are checked and completed before the queue takes them.
#ifndef QV_QUEUE_ADD_FILE_H_
#define QV_QUEUE_ADD_FILE_H_

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

// Those of HttpAddQueuedFileEx; texts may be NULL.
struct AddArguments {
  DWORD type = 0;
  LPCSTR host = nullptr;
  UINT port = 0;
  UINT auth_type = HTTP_AUTH_BASIC;
  LPCSTR user = nullptr;
  LPCSTR password = nullptr;
  LPCSTR local_file = nullptr;
  LPCSTR remote_file = nullptr;
  DWORD options = 0;
  UINT timeout = 0;  // seconds
  const void* reserved = nullptr;
};

// Whether a type, without its flags, can be queued. QV_ERROR_INVALID_QUEUE_HANDLE.
Error CheckFileType(DWORD type);

// The contract of HttpAddQueuedFileEx; the file's id.
Result<DWORD> AddFile(HQUEUE queue, const AddArguments& arguments);

}  // namespace qv

#endif  // QV_QUEUE_ADD_FILE_H_
