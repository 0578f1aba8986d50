#include "transfer/local_file.h"

#include "frame/wide.h"
#include "platform/replace_file.h"
#include "url/file_url.h"

namespace qv {
namespace {

bool IsMissing(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

HANDLE Open(const std::string& path, DWORD access, DWORD share, DWORD disposition, DWORD flags,
            LPVOID security = nullptr) {
  return CreateFileW(WideFromUtf8(path).c_str(), access, share, security, disposition, flags,
                     nullptr);
}

bool Seek(HANDLE file, uint64_t position) {
  LARGE_INTEGER distance;
  distance.QuadPart = static_cast<LONGLONG>(position);
  return SetFilePointerEx(file, distance, nullptr, FILE_BEGIN) != FALSE;
}

}  // namespace

Result<std::string> ResolveLocalName(std::string_view name) {
  if (name.empty()) return Error(QV_ERROR_INVALID_FILE_NAME);
  if (IsFileUrl(name)) return LocalPathOfFileUrl(name, kFileUrlExpand);
  if (name.find('%') == name.npos) return std::string(name);
  char expanded[MAX_PATH];
  const DWORD count = ExpandEnvironmentStringsA(std::string(name).c_str(), expanded, MAX_PATH);
  if (count <= 1 || count > MAX_PATH) return Error(QV_ERROR_INVALID_FILE_NAME);
  return std::string(expanded);
}

Result<LocalFile> LocalFile::OpenForReading(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(WideFromUtf8(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return Error(QV_ERROR_FILE_NOT_FOUND);
  if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) != 0) {
    return Error(QV_ERROR_INVALID_FILE_TYPE);
  }
  const HANDLE handle =
      Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
  if (handle == INVALID_HANDLE_VALUE) return Error(QV_ERROR_ACCESS_DENIED);
  return LocalFile(handle);
}

Result<LocalFile> LocalFile::Create(const std::string& path) {
  const HANDLE handle =
      Open(path, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
  if (handle == INVALID_HANDLE_VALUE) return Error(QV_ERROR_FILE_NOT_CREATED);
  return LocalFile(handle);
}

Result<LocalFile> LocalFile::CreateNew(const std::string& path) {
  int owner_only = 0;  // any attributes at all mean that
  const HANDLE handle =
      Open(path, GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, &owner_only);
  if (handle == INVALID_HANDLE_VALUE) return Error(QV_ERROR_FILE_NOT_CREATED);
  return LocalFile(handle);
}

Result<LocalFile> LocalFile::OpenForWriting(const std::string& path, uint64_t offset) {
  const HANDLE handle =
      Open(path, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
  if (handle == INVALID_HANDLE_VALUE) {
    return Error(IsMissing(GetLastError()) ? QV_ERROR_FILE_NOT_FOUND : QV_ERROR_ACCESS_DENIED);
  }
  LocalFile file(handle);
  if (!Seek(handle, offset)) return Error(QV_ERROR_ACCESS_DENIED);
  return file;
}

Result<uint64_t> LocalFile::Size() const {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(handle_, &size)) return Error(QV_ERROR_INVALID_FILE_TYPE);
  return static_cast<uint64_t>(size.QuadPart);
}

Result<std::size_t> LocalFile::Read(std::span<char> buffer) {
  DWORD read = 0;
  if (!ReadFile(handle_, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr)) {
    return Error(QV_ERROR_FILE_READ_FAILED);
  }
  return std::size_t{read};
}

Error LocalFile::Write(std::string_view bytes) {
  DWORD written = 0;
  const auto size = static_cast<DWORD>(bytes.size());
  const bool done = WriteFile(handle_, bytes.data(), size, &written, nullptr) && written == size;
  return done ? kNoError : Error(QV_ERROR_FILE_WRITE_FAILED);
}

Error LocalFile::Empty() {
  return Seek(handle_, 0) ? EndHere() : Error(QV_ERROR_FILE_WRITE_FAILED);
}

Error LocalFile::EndHere() {
  return SetEndOfFile(handle_) ? kNoError : Error(QV_ERROR_FILE_WRITE_FAILED);
}

void LocalFile::Close() {
  if (handle_ != nullptr) CloseHandle(std::exchange(handle_, nullptr));
}

bool DeleteLocalFile(const std::string& path) {
  return DeleteFileW(WideFromUtf8(path).c_str()) != FALSE;
}

Error ReplaceLocalFile(const std::string& from, const std::string& to) {
  const std::u16string source = WideFromUtf8(from);
  const std::u16string target = WideFromUtf8(to);
  if (ReplaceFileW(target.c_str(), source.c_str(), nullptr, 0, nullptr, nullptr)) return kNoError;
  if (!CopyFileW(source.c_str(), target.c_str(), FALSE)) return QV_ERROR_FILE_NOT_CREATED;
  DeleteFileW(source.c_str());
  return kNoError;
}

}  // namespace qv
