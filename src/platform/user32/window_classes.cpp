#include "user32/window_classes.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "kernel32/errno_map.h"
#include "platform/user32.h"

namespace platform::user32 {
namespace {

constexpr std::size_t kLongestName = 255;
constexpr UINT_PTR kLastAtom = 0xFFFF;  // a "name" up to here is an atom
constexpr ATOM kFirstStringAtom = 0xC000;

struct ClassTable {
  std::mutex mutex;
  std::vector<std::shared_ptr<WindowClass>> classes;
  ATOM last_atom = kFirstStringAtom - 1;
};

// Never destroyed: windows go during the static destruction of others.
ClassTable& Table() {
  static ClassTable& table = *new ClassTable;
  return table;
}

// Under the lock; the end when there is none.
auto FindClass(ClassTable& table, const ClassName& name) {
  return std::find_if(table.classes.begin(), table.classes.end(), [&](const auto& candidate) {
    return name.atom != 0 ? candidate->atom == name.atom : candidate->name == name.text;
  });
}

// Under the lock; 0 when all are taken.
ATOM NewAtom(ClassTable& table) {
  for (UINT_PTR tries = kFirstStringAtom; tries <= kLastAtom; ++tries) {
    table.last_atom =
        table.last_atom == kLastAtom ? kFirstStringAtom : static_cast<ATOM>(table.last_atom + 1);
    if (FindClass(table, {table.last_atom, {}}) == table.classes.end()) return table.last_atom;
  }
  return 0;
}

// Letters beyond ASCII count exactly.
std::u16string LowerCase(std::u16string text) {
  for (char16_t& unit : text) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
  }
  return text;
}

template <typename Char>
bool IsAtom(const Char* name) {
  return reinterpret_cast<UINT_PTR>(name) <= kLastAtom;
}

ATOM FailRegistering(DWORD error) {
  SetLastError(error);
  return 0;
}

ATOM Add(std::u16string name, WNDPROC procedure) {
  if (name.empty() || name.size() > kLongestName) return FailRegistering(ERROR_INVALID_PARAMETER);
  ClassTable& table = Table();
  const std::lock_guard lock(table.mutex);
  if (FindClass(table, {0, name}) != table.classes.end()) {
    return FailRegistering(ERROR_CLASS_ALREADY_EXISTS);
  }
  const ATOM atom = NewAtom(table);
  if (atom == 0) return FailRegistering(ERROR_NOT_ENOUGH_MEMORY);
  auto added = std::make_shared<WindowClass>();
  added->name = std::move(name);
  added->atom = atom;
  added->procedure = procedure;
  table.classes.push_back(std::move(added));
  return atom;
}

template <typename Record>
ATOM Register(const Record* record) noexcept {
  if (record == nullptr || record->lpfnWndProc == nullptr || IsAtom(record->lpszClassName)) {
    return FailRegistering(ERROR_INVALID_PARAMETER);
  }
  if (record->cbClsExtra != 0 || record->cbWndExtra != 0) {
    return FailRegistering(ERROR_NOT_SUPPORTED);
  }
  try {
    return Add(NameOfClass(record->lpszClassName).text, record->lpfnWndProc);
  } catch (const std::bad_alloc&) {
    return FailRegistering(ERROR_NOT_ENOUGH_MEMORY);
  }
}

template <typename Char>
BOOL Unregister(const Char* name) noexcept {
  try {
    const ClassName wanted = NameOfClass(name);
    ClassTable& table = Table();
    const std::lock_guard lock(table.mutex);
    const auto found = FindClass(table, wanted);
    if (found == table.classes.end()) return Fail(ERROR_CLASS_DOES_NOT_EXIST);
    if ((*found)->windows > 0) return Fail(ERROR_CLASS_HAS_WINDOWS);
    table.classes.erase(found);
    return TRUE;
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

}  // namespace

ClassName NameOfClass(LPCWSTR name) {
  if (IsAtom(name)) return {static_cast<ATOM>(reinterpret_cast<UINT_PTR>(name)), {}};
  return {0, LowerCase(name)};
}

ClassName NameOfClass(LPCSTR name) {
  if (IsAtom(name)) return {static_cast<ATOM>(reinterpret_cast<UINT_PTR>(name)), {}};
  const std::string_view text(name);
  const int length = static_cast<int>(std::min<std::size_t>(text.size(), kLongestName * 4));
  std::u16string wide(static_cast<std::size_t>(length), u'\0');
  if (length > 0) {
    const int units = MultiByteToWideChar(CP_ACP, 0, name, length, wide.data(), length);
    wide.resize(static_cast<std::size_t>(units));
  }
  return {0, LowerCase(std::move(wide))};
}

std::shared_ptr<WindowClass> AcquireClass(const ClassName& name) {
  ClassTable& table = Table();
  const std::lock_guard lock(table.mutex);
  const auto found = FindClass(table, name);
  if (found == table.classes.end()) return nullptr;
  ++(*found)->windows;
  return *found;
}

void ReleaseClass(WindowClass& window_class) noexcept {
  const std::lock_guard lock(Table().mutex);
  --window_class.windows;
}

}  // namespace platform::user32

ATOM WINAPI RegisterClassA(const WNDCLASSA* record) noexcept {
  return platform::user32::Register(record);
}

ATOM WINAPI RegisterClassW(const WNDCLASSW* record) noexcept {
  return platform::user32::Register(record);
}

BOOL WINAPI UnregisterClassA(LPCSTR name, HINSTANCE) noexcept {
  return platform::user32::Unregister(name);
}

BOOL WINAPI UnregisterClassW(LPCWSTR name, HINSTANCE) noexcept {
  return platform::user32::Unregister(name);
}
