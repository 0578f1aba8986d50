// A file that takes the place of another when it is complete.
#ifndef QV_TRANSFER_TEMPORARY_FILE_H_
#define QV_TRANSFER_TEMPORARY_FILE_H_

#include <string>

#include "transfer/local_file.h"

namespace qv {

// Beside the file that it is to replace, and for its owner alone as long as it is there. Deleted
// with the object.
class TemporaryFile {
 public:
  // QV_ERROR_FILE_NOT_CREATED.
  static Result<TemporaryFile> CreateFor(const std::string& path);

  TemporaryFile(TemporaryFile&& other) noexcept
      : path_(std::exchange(other.path_, {})), file_(std::move(other.file_)) {}
  TemporaryFile& operator=(TemporaryFile&&) = delete;
  ~TemporaryFile();

  LocalFile& file() { return file_; }

  // Closes it and puts it in the place of `path`, whose permissions it takes over; a symbolic link
  // stays and leads to it. QV_ERROR_FILE_NOT_CREATED.
  Error Replace(const std::string& path);

 private:
  TemporaryFile(std::string path, LocalFile file)
      : path_(std::move(path)), file_(std::move(file)) {}

  std::string path_;
  LocalFile file_;
};

}  // namespace qv

#endif  // QV_TRANSFER_TEMPORARY_FILE_H_
