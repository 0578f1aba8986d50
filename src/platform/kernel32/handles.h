// Kernel objects and the handles that stand for them.
#ifndef PLATFORM_KERNEL32_HANDLES_H_
#define PLATFORM_KERNEL32_HANDLES_H_

#include <memory>

#include "platform/kernel32.h"

namespace platform {

enum class ObjectType { kFile, kThread };

// What a handle can stand for. An object lives until its last handle is closed and its last user
// has left.
class KernelObject {
 public:
  explicit KernelObject(ObjectType type) : type_(type) {}
  virtual ~KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;

  ObjectType type() const { return type_; }

 private:
  const ObjectType type_;
};

// Gives an object a handle. Values are never used twice, so that a stale handle finds nothing.
HANDLE OpenHandle(std::shared_ptr<KernelObject> object);

// The object behind a handle if it is of that type; otherwise null with ERROR_INVALID_HANDLE.
std::shared_ptr<KernelObject> FindObject(HANDLE handle, ObjectType type) noexcept;

// The same with the object's class, which names its type as kType.
template <typename Object>
std::shared_ptr<Object> Find(HANDLE handle) noexcept {
  return std::static_pointer_cast<Object>(FindObject(handle, Object::kType));
}

}  // namespace platform

#endif  // PLATFORM_KERNEL32_HANDLES_H_
