#include "partial_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "failure.h"

namespace fs = std::filesystem;

namespace {

constexpr mode_t kMode = 0666;  // less the process's umask

fs::path Beside(const fs::path& target, const std::string& suffix) {
  return target.parent_path() / ("." + target.filename().string() + suffix);
}

}  // namespace

PartialFile::PartialFile(const std::string& target) : target_(target) {
  // Through a link, it is the file behind it that gets replaced.
  std::error_code ignored;
  if (fs::exists(target_, ignored)) target_ = fs::canonical(target_);
  part_ = Beside(target_, ".part");
  meta_ = Beside(target_, ".part.meta");
}

PartialFile::~PartialFile() {
  if (file_ < 0) return;
  const bool can_be_resumed = !record_.validator.empty() && size_ > 0;
  if (!can_be_resumed) Discard();
  Close();
}

// False when the file does not exist and is not to be made.
bool PartialFile::Open(int flags) {
  for (;;) {
    file_ = open(part_.c_str(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, kMode);
    if (file_ < 0 && errno == ENOENT && (flags & O_CREAT) == 0) return false;
    if (file_ < 0) Fail();
    if (flock(file_, LOCK_EX | LOCK_NB) != 0) {
      Close();
      throw Failure(ExitCode::kFailure, "another download to " + target_.string() + " is at work");
    }
    if (IsStillInPlace()) return true;
    Close();
  }
}

// Another process may have finished between the opening of the file and its locking: what was
// opened is then the target.
bool PartialFile::IsStillInPlace() const {
  struct stat opened {};
  struct stat named {};
  return fstat(file_, &opened) == 0 && stat(part_.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

bool PartialFile::OpenExisting(const std::string& url) {
  if (!Open(0)) return false;
  const auto record = LoadPartialRecord(meta_);
  const off_t end = lseek(file_, 0, SEEK_END);
  if (!record || record->url != url || end <= 0) {
    Close();
    return false;
  }
  record_ = *record;
  size_ = static_cast<std::uint64_t>(end);
  return true;
}

void PartialFile::Begin(const PartialRecord& record) {
  if (file_ < 0) Open(O_CREAT);
  // In this order: at no time does the record of one version stand beside bytes of another.
  if (ftruncate(file_, 0) != 0 || lseek(file_, 0, SEEK_SET) != 0) Fail();
  size_ = 0;
  Describe(record);
}

void PartialFile::Describe(const PartialRecord& record) {
  record_ = record;
  std::error_code ignored;
  fs::remove(meta_, ignored);
  if (!record_.validator.empty()) StorePartialRecord(meta_, record_);
}

void PartialFile::UpdateSize() {
  struct stat now {};
  if (fstat(file_, &now) != 0) Fail();
  size_ = static_cast<std::uint64_t>(now.st_size);
}

void PartialFile::Discard() {
  std::error_code ignored;
  fs::remove(meta_, ignored);
  fs::remove(part_, ignored);
  Close();
}

void PartialFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file_, bytes.data(), bytes.size());
    if (count < 0) Fail();
    bytes.remove_prefix(static_cast<std::size_t>(count));
    size_ += static_cast<std::uint64_t>(count);
  }
}

void PartialFile::Finish() {
  if (rename(part_.c_str(), target_.c_str()) != 0) Fail();
  std::error_code ignored;
  fs::remove(meta_, ignored);
  Close();
}

void PartialFile::Close() {
  if (file_ >= 0) close(std::exchange(file_, -1));
}

void PartialFile::Fail() const {
  const std::string reason = std::strerror(errno);
  throw Failure(ExitCode::kFailure, "cannot write " + target_.string() + ": " + reason);
}
