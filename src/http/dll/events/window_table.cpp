#include "events/window_table.h"

#include <unordered_map>

#include "events/window_procedure.h"
#include "frame/library.h"

namespace qv {
namespace {

struct SubclassedWindow {
  WNDPROC previous = nullptr;
  DWORD sessions = 0;
};

using Windows = std::unordered_map<HWND, SubclassedWindow>;

// Guarded by the library lock.
Windows& Table() {
  static Windows& table = *new Windows;  // outlives every static of the application
  return table;
}

WNDPROC SetProcedure(HWND window, WNDPROC procedure) {
  const auto value = reinterpret_cast<LONG_PTR>(procedure);
  return reinterpret_cast<WNDPROC>(SetWindowLongPtrA(window, GWLP_WNDPROC, value));
}

}  // namespace

void SubclassWindow(HWND window) {
  LibraryLock lock;
  const auto [entry, added] = Table().try_emplace(window);
  if (added) entry->second.previous = SetProcedure(window, LibraryWindowProcedure);
  ++entry->second.sessions;
}

void UnsubclassWindow(HWND window) {
  LibraryLock lock;
  const auto entry = Table().find(window);
  if (entry == Table().end() || --entry->second.sessions > 0) return;
  SetProcedure(window, entry->second.previous);
  Table().erase(entry);
}

std::optional<WNDPROC> PreviousProcedure(HWND window) {
  LibraryLock lock;
  const auto entry = Table().find(window);
  if (entry == Table().end()) return std::nullopt;
  return entry->second.previous;
}

void RestoreSubclassedWindows() {
  LibraryLock lock;
  for (const auto& [window, record] : Table()) SetProcedure(window, record.previous);
  Table().clear();
}

}  // namespace qv
