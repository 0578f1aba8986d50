#include "kernel32/file_object.h"

#include <unistd.h>

#include <algorithm>
#include <list>
#include <mutex>

namespace platform {
namespace {

// The uses of all open handles of the process.
struct ShareList {
  std::mutex mutex;
  std::list<const FileUse*> uses;
};

// Never destroyed: files are closed during the static destruction of others.
ShareList& Shares() {
  static ShareList& shares = *new ShareList;
  return shares;
}

// Whether a use with that share mode lets another have that access.
bool Lets(DWORD share, DWORD access) {
  const bool read_refused = (access & GENERIC_READ) != 0 && (share & FILE_SHARE_READ) == 0;
  const bool write_refused =
      (access & (GENERIC_WRITE | FILE_APPEND_DATA)) != 0 && (share & FILE_SHARE_WRITE) == 0;
  return !read_refused && !write_refused;
}

bool Exclude(const FileUse& left, const FileUse& right) {
  const bool same_file = left.device == right.device && left.inode == right.inode;
  return same_file && !(Lets(left.share, right.access) && Lets(right.share, left.access));
}

}  // namespace

Descriptor::~Descriptor() {
  if (IsOpen()) close(value_);
}

FileObject::~FileObject() {
  if (!shared_) return;
  const std::lock_guard lock(Shares().mutex);
  Shares().uses.remove(&use_);
}

bool FileObject::Share() {
  // Handles that neither read nor write, and what is no regular file, are in nobody's way.
  if (use_.access == 0 || !regular_) return true;
  const std::lock_guard lock(Shares().mutex);
  auto& uses = Shares().uses;
  if (std::any_of(uses.begin(), uses.end(),
                  [this](const FileUse* other) { return Exclude(use_, *other); })) {
    return false;
  }
  uses.push_back(&use_);
  shared_ = true;
  return true;
}

}  // namespace platform
