#include "kernel32/handles.h"

#include <mutex>
#include <unordered_map>
#include <utility>

#include "kernel32/errno_map.h"

namespace platform {
namespace {

// Handles are multiples of four, as applications may use the two low bits for themselves.
constexpr UINT_PTR kHandleStep = 4;

struct HandleTable {
  std::mutex mutex;
  UINT_PTR last_handle = 0;
  std::unordered_map<UINT_PTR, std::shared_ptr<KernelObject>> objects;
};

// Never destroyed: handles are closed during the static destruction of others.
HandleTable& Table() {
  static HandleTable& table = *new HandleTable;
  return table;
}

}  // namespace

HANDLE OpenHandle(std::shared_ptr<KernelObject> object) {
  HandleTable& table = Table();
  const std::lock_guard lock(table.mutex);
  table.last_handle += kHandleStep;
  table.objects.emplace(table.last_handle, std::move(object));
  return reinterpret_cast<HANDLE>(table.last_handle);
}

std::shared_ptr<KernelObject> FindObject(HANDLE handle, ObjectType type) noexcept {
  HandleTable& table = Table();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.objects.find(reinterpret_cast<UINT_PTR>(handle));
    if (found != table.objects.end() && found->second->type() == type) return found->second;
  }
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

}  // namespace platform

BOOL WINAPI CloseHandle(HANDLE handle) noexcept {
  platform::HandleTable& table = platform::Table();
  std::shared_ptr<platform::KernelObject> object;  // released after the lock
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.objects.find(reinterpret_cast<UINT_PTR>(handle));
    if (found == table.objects.end()) return platform::Fail(ERROR_INVALID_HANDLE);
    object = std::move(found->second);
    table.objects.erase(found);
  }
  return TRUE;
}
