// Window classes: a name, an atom that stands for it, and the procedure of new windows.
#ifndef PLATFORM_USER32_WINDOW_CLASSES_H_
#define PLATFORM_USER32_WINDOW_CLASSES_H_

#include <memory>
#include <string>

#include "qvplatform.h"

namespace platform::user32 {

struct WindowClass {
  std::u16string name;  // lower case
  ATOM atom = 0;
  WNDPROC procedure = nullptr;
  int windows = 0;  // under the lock of the classes
};

// How a caller names a class: by its atom, or by its name when the atom is 0.
struct ClassName {
  ATOM atom = 0;
  std::u16string text;  // lower case
};
ClassName NameOfClass(LPCSTR name);
ClassName NameOfClass(LPCWSTR name);

// The class with its count of windows raised; null when there is none.
std::shared_ptr<WindowClass> AcquireClass(const ClassName& name);
void ReleaseClass(WindowClass& window_class) noexcept;

}  // namespace platform::user32

#endif  // PLATFORM_USER32_WINDOW_CLASSES_H_
