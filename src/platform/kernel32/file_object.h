// An open file as a kernel object.
#ifndef PLATFORM_KERNEL32_FILE_OBJECT_H_
#define PLATFORM_KERNEL32_FILE_OBJECT_H_

#include <sys/types.h>

#include "kernel32/handles.h"

namespace platform {

// An open descriptor, closed when its owner goes.
class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : value_(other.value_) { other.value_ = -1; }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;

  int get() const { return value_; }
  bool IsOpen() const { return value_ >= 0; }

 private:
  int value_;
};

// Which file it is, and what an open handle does with it and lets others do.
struct FileUse {
  dev_t device;
  ino_t inode;
  DWORD access;  // GENERIC_READ, GENERIC_WRITE, FILE_APPEND_DATA
  DWORD share;   // FILE_SHARE_...
};

class FileObject : public KernelObject {
 public:
  static constexpr ObjectType kType = ObjectType::kFile;

  FileObject(Descriptor descriptor, const FileUse& use, bool regular)
      : KernelObject(kType), descriptor_(std::move(descriptor)), use_(use), regular_(regular) {}
  ~FileObject() override;

  // Enters the use into the list of all uses; false when it and one of those exclude each other.
  bool Share();

  int descriptor() const { return descriptor_.get(); }
  bool Allows(DWORD access) const { return (use_.access & access) != 0; }
  bool IsRegular() const { return regular_; }

 private:
  Descriptor descriptor_;
  const FileUse use_;
  const bool regular_;
  bool shared_ = false;
};

}  // namespace platform

#endif  // PLATFORM_KERNEL32_FILE_OBJECT_H_
