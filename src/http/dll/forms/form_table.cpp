#include "forms/form_table.h"

#include <algorithm>
#include <utility>

#include "frame/library.h"

namespace qv {
namespace {

constexpr DWORD kHandleBaseStart = 4096;
constexpr DWORD kHandleBaseSpread = 255;
constexpr std::size_t kSlotsPerGrowth = 256;

}  // namespace

FormTable& FormTable::Get() {
  static FormTable& table = *new FormTable;  // outlives every static of the application
  return table;
}

HFORM FormTable::Create(const FormChange& properties) {
  const LibraryLock lock;
  if (base_ == 0) base_ = (GetTickCount() & kHandleBaseSpread) + kHandleBaseStart;
  const auto slot = std::find(slots_.begin(), slots_.end(), nullptr);
  const auto index = static_cast<std::size_t>(slot - slots_.begin());
  if (slot == slots_.end()) slots_.resize(slots_.size() + kSlotsPerGrowth);
  const HFORM handle = base_ + index;
  slots_[index] = std::make_shared<Form>(handle, properties);
  return handle;
}

const FormRef* FormTable::SlotOf(HFORM handle) const {
  if (base_ == 0 || handle < base_ || handle - base_ >= slots_.size()) return nullptr;
  const FormRef& slot = slots_[handle - base_];
  return slot ? &slot : nullptr;
}

Result<FormRef> FormTable::Find(HFORM handle) const {
  const LibraryLock lock;
  if (const FormRef* slot = SlotOf(handle)) return *slot;
  return Error(QV_ERROR_INVALID_FORM_HANDLE);
}

Error FormTable::Destroy(HFORM handle) {
  FormRef form;  // freed without the lock
  const LibraryLock lock;
  if (SlotOf(handle) == nullptr) return QV_ERROR_INVALID_FORM_HANDLE;
  form = std::exchange(slots_[handle - base_], nullptr);
  return kNoError;
}

void FormTable::ReleaseAll() {
  std::vector<FormRef> forms;  // freed without the lock
  const LibraryLock lock;
  forms.swap(slots_);
}

}  // namespace qv
