// Local files of transfers.
#ifndef QV_TRANSFER_LOCAL_FILE_H_
#define QV_TRANSFER_LOCAL_FILE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "frame/error.h"
#include "platform/kernel32.h"

namespace qv {

// The name of a local file as an application may give it: a "file:" URL becomes a path, %NAME%
// references are expanded, any other name stays. QV_ERROR_INVALID_FILE_NAME, errors of the URL.
Result<std::string> ResolveLocalName(std::string_view name);

// An open file; closed with the object.
class LocalFile {
 public:
  LocalFile() = default;
  LocalFile(LocalFile&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  LocalFile& operator=(LocalFile&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~LocalFile() { Close(); }

  // For reading, shared for reading. QV_ERROR_FILE_NOT_FOUND, QV_ERROR_INVALID_FILE_TYPE (not a
  // regular file), QV_ERROR_ACCESS_DENIED.
  static Result<LocalFile> OpenForReading(const std::string& path);

  // Created or emptied. QV_ERROR_FILE_NOT_CREATED.
  static Result<LocalFile> Create(const std::string& path);

  // Created, for its owner alone, only if there is none of that name. QV_ERROR_FILE_NOT_CREATED.
  static Result<LocalFile> CreateNew(const std::string& path);

  // An existing one, to be written from `offset` on. QV_ERROR_FILE_NOT_FOUND,
  // QV_ERROR_ACCESS_DENIED.
  static Result<LocalFile> OpenForWriting(const std::string& path, uint64_t offset);

  Result<uint64_t> Size() const;

  // Fills the buffer up to the end of the file; 0 there. QV_ERROR_FILE_READ_FAILED.
  Result<std::size_t> Read(std::span<char> buffer);

  // QV_ERROR_FILE_WRITE_FAILED, also for a full disk.
  Error Write(std::string_view bytes);

  // Empties the file; writing goes on at its start.
  Error Empty();

  // The file ends where writing would go on.
  Error EndHere();

  void Close();
  bool is_open() const { return handle_ != nullptr; }

 private:
  explicit LocalFile(HANDLE handle) : handle_(handle) {}
  HANDLE handle_ = nullptr;
};

// Deletes a file.
bool DeleteLocalFile(const std::string& path);

// Puts a file in the place of another, whose permissions it takes over. When that fails, neither is
// changed unless the other was being copied to: QV_ERROR_FILE_NOT_CREATED.
Error ReplaceLocalFile(const std::string& from, const std::string& to);

}  // namespace qv

#endif  // QV_TRANSFER_LOCAL_FILE_H_
