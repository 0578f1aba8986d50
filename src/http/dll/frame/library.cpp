#include "frame/library.h"

#include <atomic>

#include "events/window_table.h"
#include "frame/error_slot.h"
#include "frame/session_table.h"
#include "queue/queue_table.h"
#include "tasks/steering.h"
#include "transport/os_version.h"
#include "transport/socket_binding.h"
#include "transport/trace.h"

namespace qv {
namespace {

constexpr DWORD kHandleBaseStart = 4096;
constexpr DWORD kHandleBaseSpread = 255;
constexpr DWORD kOldestMajorVersion = 6;

struct State {
  std::atomic<int> attach_guard{-1};  // 1 while attached
  CRITICAL_SECTION lock{};
  std::atomic<DWORD> error_slot{TLS_OUT_OF_INDEXES};
  std::atomic<DWORD> handle_base{0};
  std::atomic<HMODULE> module{nullptr};
  int initialisations = 0;  // guarded by the lock
};

State& GetState() {
  static State state;
  return state;
}

Error CheckOperatingSystem() {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof(version);
  if (QueryOsVersion(&version) && version.dwMajorVersion < kOldestMajorVersion) {
    return QV_ERROR_INVALID_VERSION;
  }
  return kNoError;
}

// Nothing new is opened or started from now on.
void EndInitialization(State& state) {
  LibraryLock lock;
  state.initialisations = 0;
}

}  // namespace

namespace library {

void Attach(HMODULE module) {
  State& state = GetState();
  if (state.attach_guard.fetch_add(1) + 1 != 0) return;
  InitializeCriticalSection(&state.lock);
  state.error_slot = TlsAlloc();
  state.handle_base = (GetTickCount() & kHandleBaseSpread) + kHandleBaseStart;
  if (module != nullptr) state.module = module;
  state.attach_guard.fetch_add(1);
}

void Detach() {
  State& state = GetState();
  if (state.attach_guard.load() == 1) {  // while the lock still works
    EndInitialization(state);
    AbortAllTasks();
    EndQueues();
  }
  const int guard = state.attach_guard.fetch_sub(1) - 1;
  if (guard < 0) state.attach_guard = -1;
  if (guard != 0) return;
  SessionTable::Get().ReleaseAll();
  RestoreSubclassedWindows();
  const DWORD slot = state.error_slot.exchange(TLS_OUT_OF_INDEXES);
  state.module = nullptr;
  state.attach_guard = -1;
  DeleteCriticalSection(&state.lock);
  TlsFree(slot);
}

Error Initialize() {
  State& state = GetState();
  if (state.module.load() == nullptr && state.attach_guard.load() <= 0) Attach(nullptr);
  if (Error error = CheckOperatingSystem()) return error;
  LibraryLock lock;
  if (const DWORD number = StartSockets(); number != 0) return ErrorFromPlatform(number);
  ++state.initialisations;
  return kNoError;
}

void Uninitialize() {
  State& state = GetState();
  bool last = false;
  {
    LibraryLock lock;
    if (state.initialisations > 0) last = --state.initialisations == 0;
  }
  if (last) {
    AbortAllTasks();
    EndQueues();
    SessionTable::Get().ReleaseAll();
    RestoreSubclassedWindows();
    trace::Disable();
    LibraryLock lock;
    StopSockets();
  }
  if (last && state.module.load() == nullptr) Detach();
}

Error CheckInitialized() {
  LibraryLock lock;
  return GetState().initialisations > 0 ? kNoError : Error(QV_ERROR_NETWORK_NOT_INITIALIZED);
}

HMODULE Module() { return GetState().module; }

DWORD HandleBase() { return GetState().handle_base; }

DWORD ErrorSlotIndex() { return GetState().error_slot.load(std::memory_order_relaxed); }

}  // namespace library

LibraryLock::LibraryLock() : held_(GetState().attach_guard.load() > 0) {
  if (held_) EnterCriticalSection(&GetState().lock);
}

LibraryLock::~LibraryLock() {
  if (held_) LeaveCriticalSection(&GetState().lock);
}

}  // namespace qv
