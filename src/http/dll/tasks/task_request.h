// What a task is asked to do.
#ifndef QV_TASKS_TASK_REQUEST_H_
#define QV_TASKS_TASK_REQUEST_H_

#include <cstdint>
#include <memory>
#include <string>

#include "frame/fixed_string.h"
#include "qvhttp12.h"

namespace qv {

struct Session;

enum class TaskOperation {
  kGetFile,
  kGetData,
  kPutFile,
  kPutData,
  kPostData,
  kPostJson,
  kPostText,
  kPostXml,
  kSubmitForm,
};

inline constexpr std::size_t kTaskTextCapacity = 5120;

// Texts and documents are copies. Buffers and length variables are the application's, which keeps
// them until the task has finished.
struct TaskRequest {
  TaskOperation operation = TaskOperation::kGetFile;
  std::weak_ptr<Session> session;  // whose settings count; empty for none
  FixedString<kTaskTextCapacity> resource;
  FixedString<kTaskTextCapacity> local_file;
  DWORD options = 0;
  uint64_t offset = 0;
  LPCVOID data = nullptr;
  DWORD data_length = 0;
  std::string document;
  HFORM form = INVALID_FORM;
  LPVOID result = nullptr;
  LPDWORD result_length = nullptr;
  HTTPEVENTPROC callback = nullptr;
  DWORD_PTR parameter = 0;
};

}  // namespace qv

#endif  // QV_TASKS_TASK_REQUEST_H_
