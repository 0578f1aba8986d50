#include "frame/session_table.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "frame/error_slot.h"
#include "frame/library.h"
#include "frame/session.h"

namespace qv {
namespace {

constexpr std::size_t kSlotsPerGrowth = 256;

bool MayUse(const Session& session) {
  return (session.settings.options & HTTP_OPTION_FREETHREAD) != 0 ||
         session.owner == GetCurrentThreadId();
}

}  // namespace

SessionTable& SessionTable::Get() {
  static SessionTable& table = *new SessionTable;  // outlives every static of the application
  return table;
}

Result<SessionRef> SessionTable::Create() {
  LibraryLock lock;
  if (Error error = library::CheckInitialized()) return error;
  auto slot = std::find(slots_.begin(), slots_.end(), nullptr);
  const auto index = static_cast<std::size_t>(slot - slots_.begin());
  if (slot == slots_.end()) slots_.resize(slots_.size() + kSlotsPerGrowth);
  auto session = std::make_shared<Session>();
  session->handle = library::HandleBase() + index;
  session->owner = GetCurrentThreadId();
  slots_[index] = session;
  return session;
}

SessionRef SessionTable::FindLocked(HCLIENT handle) const {
  if (handle > std::numeric_limits<DWORD>::max()) return nullptr;
  const DWORD index = static_cast<DWORD>(handle) - library::HandleBase();
  return index < slots_.size() ? slots_[index] : nullptr;
}

Result<SessionRef> SessionTable::Find(HCLIENT handle) {
  LibraryLock lock;
  if (SessionRef session = FindLocked(handle)) return session;
  return Error(QV_ERROR_INVALID_HANDLE);
}

Result<SessionRef> SessionTable::Validate(HCLIENT handle) {
  Result<SessionRef> session = Find(handle);
  if (session && !MayUse(**session)) return Error(QV_ERROR_NOT_HANDLE_OWNER);
  return session;
}

// Only sessions of the calling thread are looked into: others may be changing.
template <class Condition>
SessionRef SessionTable::FindOwn(Condition&& condition) {
  const DWORD thread = GetCurrentThreadId();
  LibraryLock lock;
  for (const SessionRef& session : slots_) {
    if (session && session->owner == thread && condition(*session)) return session;
  }
  return nullptr;
}

SessionRef SessionTable::FindBySocket(ws2::Socket socket) {
  return FindOwn([socket](const Session& session) { return session.connection.socket == socket; });
}

SessionRef SessionTable::FindByWindow(HWND notification_window) {
  return FindOwn([notification_window](const Session& session) {
    return session.events.notification_window == notification_window;
  });
}

SessionRef SessionTable::NextOwn(std::size_t& slot) {
  const DWORD thread = GetCurrentThreadId();
  LibraryLock lock;
  while (slot < slots_.size()) {
    const SessionRef& session = slots_[slot++];
    if (session && session->owner == thread) return session;
  }
  return nullptr;
}

std::vector<SessionRef> SessionTable::OwnedByThread(DWORD thread_id) {
  const DWORD thread = thread_id != 0 ? thread_id : GetCurrentThreadId();
  std::vector<SessionRef> sessions;
  LibraryLock lock;
  std::copy_if(slots_.begin(), slots_.end(), std::back_inserter(sessions),
               [thread](const SessionRef& s) { return s && s->owner == thread; });
  return sessions;
}

Result<DWORD> SessionTable::ChangeOwner(HCLIENT handle, DWORD thread_id) {
  LibraryLock lock;
  SessionRef session = FindLocked(handle);
  if (!session) return Error(QV_ERROR_INVALID_HANDLE);
  return session->owner.exchange(thread_id != 0 ? thread_id : GetCurrentThreadId());
}

void SessionTable::Release(HCLIENT handle) {
  ErrorSlotGuard keep_error;
  SessionRef session;
  {
    LibraryLock lock;
    session = FindLocked(handle);
    if (!session || !MayUse(*session)) return;
    slots_[static_cast<DWORD>(handle) - library::HandleBase()] = nullptr;
  }
  session->Close();
}

void SessionTable::ReleaseAll() {
  ErrorSlotGuard keep_error;
  std::vector<SessionRef> sessions;
  {
    LibraryLock lock;
    sessions.swap(slots_);
  }
  for (SessionRef& session : sessions) {
    if (!session) continue;
    session->owner = GetCurrentThreadId();
    session->Close();
    session.reset();
  }
}

}  // namespace qv
