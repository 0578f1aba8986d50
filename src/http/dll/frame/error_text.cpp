#include "frame/error_text.h"

#include "frame/error_slot.h"
#include "frame/library.h"
#include "frame/text.h"

namespace qv {
namespace {

constexpr INT kMeasureCapacity = 512;
constexpr DWORD kLookup =
    FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

}  // namespace

INT FormatErrorText(DWORD code, LPSTR target, INT capacity) {
  char measured[kMeasureCapacity];
  if (target == nullptr) {
    target = measured;
    capacity = kMeasureCapacity;
  } else if (capacity > 0) {
    *target = '\0';
  }
  if (code == 0) code = LastError().code();
  if (code == 0 || capacity <= 0) return 0;
  const DWORD length = FormatMessageA(kLookup, library::Module(), code, 0, target,
                                      static_cast<DWORD>(capacity), nullptr);
  const std::string_view text = TrimRight({target, length});
  target[text.size()] = '\0';
  return static_cast<INT>(text.size());
}

}  // namespace qv
