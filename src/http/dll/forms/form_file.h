// Local files as the content of form fields.
#ifndef QV_FORMS_FORM_FILE_H_
#define QV_FORMS_FORM_FILE_H_

#include <string>
#include <string_view>

#include "frame/error.h"
#include "platform/kernel32.h"

namespace qv {

// An open file, read once from its start.
class FormFile {
 public:
  // Shared for reading. QV_ERROR_FILE_NOT_FOUND, QV_ERROR_NO_HANDLES, QV_ERROR_INVALID_PARAMETER,
  // QV_ERROR_INVALID_FILE_NAME, QV_ERROR_ACCESS_DENIED (also for what is no regular file),
  // QV_ERROR_FILE_READ_FAILED (its size is not to be had).
  static Result<FormFile> Open(std::string_view path);

  FormFile(FormFile&& other) noexcept;
  FormFile& operator=(FormFile&&) = delete;
  ~FormFile();

  // The whole content: what a file grows by meanwhile is left out. QV_ERROR_FILE_READ_FAILED,
  // QV_ERROR_OUT_OF_MEMORY (more than 32 bits can count, or than there is memory).
  Result<std::string> ReadAll();

 private:
  FormFile(HANDLE handle, uint64_t size) : handle_(handle), size_(size) {}

  HANDLE handle_;
  uint64_t size_;
};

// What the server is told of a file's name: its last component, cut to 511 characters.
std::string ShownFileName(std::string_view path);

}  // namespace qv

#endif  // QV_FORMS_FORM_FILE_H_
