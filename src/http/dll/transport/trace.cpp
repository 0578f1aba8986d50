#include "transport/trace.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "frame/library.h"
#include "frame/text.h"
#include "platform/kernel32.h"
#include "platform/ws2_32.h"
#include "transport/os_version.h"
#include "transport/socket_binding.h"
#include "transport/trace_file.h"
#include "transport/trace_line.h"

namespace qv::trace {
namespace {

constexpr std::size_t kMostEntries = 256;
constexpr std::size_t kNameCapacity = 64;
constexpr std::size_t kMessageCapacity = 1024;
constexpr DWORD kFlagDeleteFile = 8;
constexpr DWORD kFlagProcess = 0x1000;

// One trace: of a thread, or of the process.
struct Entry {
  DWORD key = 0;
  DWORD flags = 0;
  DWORD last_tick = 0;  // ms, of the previous line
  int references = 0;
  std::string name;  // of the program
  std::string path;  // empty: nothing is written
};

struct State {
  std::mutex lock;
  std::vector<std::optional<Entry>> entries;  // guarded by the lock, like what follows
  bool process_wide = false;
};

State& GetState() {
  static State& state = *new State;
  return state;
}

DWORD KeyLocked(const State& state) {
  return state.process_wide ? GetCurrentProcessId() : GetCurrentThreadId();
}

Entry* FindLocked(State& state) {
  const DWORD key = KeyLocked(state);
  for (std::optional<Entry>& entry : state.entries) {
    if (entry && entry->key == key) return &*entry;
  }
  return nullptr;
}

// The program's name in upper case, without folder and extensions.
std::string ProgramName(DWORD key) {
  char path[MAX_PATH];
  const DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string_view name(path, length < MAX_PATH ? length : 0);
  name.remove_prefix(name.find_last_of("/\\") + 1);
  name = name.substr(0, name.find('.')).substr(0, kNameCapacity - 1);
  if (!name.empty()) return ToUpperCopy(name);
  char number[16];
  std::snprintf(number, sizeof(number), "%08X", key);
  return number;
}

// Places a new entry in an empty slot; NULL when the table is full.
Entry* AddLocked(State& state, DWORD flags) {
  std::optional<Entry>* slot = nullptr;
  for (std::optional<Entry>& entry : state.entries) {
    if (!entry) slot = &entry;
  }
  if (slot == nullptr) {
    if (state.entries.size() >= kMostEntries) return nullptr;
    slot = &state.entries.emplace_back();
  }
  const DWORD key = KeyLocked(state);
  *slot = Entry{key, flags, GetTickCount(), 1, ProgramName(key), {}};
  ++live_entries;
  return &**slot;
}

void RemoveLocked(State& state, const Entry* entry) {
  for (std::optional<Entry>& slot : state.entries) {
    if (slot && &*slot == entry) slot.reset();
  }
  if (--live_entries == 0) state.entries.clear();
  state.process_wide = false;
}

// What writing a line needs of its entry, so that the file is written outside the lock.
struct Target {
  std::string path;
  LineHead head;
  DWORD flags = 0;
};

std::optional<Target> TakeTarget() noexcept {
  State& state = GetState();
  const std::lock_guard lock(state.lock);
  const Entry* entry = FindLocked(state);
  if (entry == nullptr || entry->path.empty()) return std::nullopt;
  const DWORD elapsed = GetTickCount() - entry->last_tick;
  try {
    return Target{entry->path, {entry->name, entry->key, elapsed}, entry->flags};
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

void NoteLine() {
  State& state = GetState();
  const std::lock_guard lock(state.lock);
  if (Entry* entry = FindLocked(state)) entry->last_tick = GetTickCount();
}

// Whether the line passed the filters. A lack of memory costs the line, not what it is about.
bool WriteTo(const Target& target, const LineKind& kind, std::string_view text) noexcept {
  try {
    const std::optional<std::string> line = FormatLine(target.head, target.flags, kind, text);
    if (line) AppendToLogFile(target.path, *line);
    return line.has_value();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Times are counted from one text line to the next; a dump belongs to the line before it.
void WriteLine(DWORD level, bool failed, std::string_view text) noexcept {
  const int socket_error = LastSocketError();
  const std::optional<Target> target = text.empty() ? std::nullopt : TakeTarget();
  const bool written = target && WriteTo(*target, {level, failed, socket_error}, text);
  if (written && (level & kFlagHexDump) == 0) NoteLine();
  RestoreSocketError(socket_error);
}

void WriteFormatted(DWORD level, bool failed, const char* format, va_list arguments) {
  char text[kMessageCapacity];
  // The callers have started the list, which the analyzer does not follow.
  std::vsnprintf(text, sizeof(text), format, arguments);  // NOLINT(clang-analyzer-valist.*)
  WriteLine(level, failed, text);
}

using Message = std::array<char, kMessageCapacity>;

// "started thread 0x01AB trace on 11-23-2026 11:12:14", to which more can be added.
Message Announcement(const char* what, bool process_wide, DWORD key) {
  SYSTEMTIME now;
  GetLocalTime(&now);
  Message text;
  std::snprintf(text.data(), text.size(), "%s %s 0x%04lX trace on %02d-%02d-%04d %02d:%02d:%02d",
                what, process_wide ? "process" : "thread", static_cast<unsigned long>(key),
                now.wMonth, now.wDay, now.wYear, now.wHour, now.wMinute, now.wSecond);
  return text;
}

void WriteStarted(bool process_wide, DWORD key) {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof(version);
  QueryOsVersion(&version);
  WriteMessage(Level::kInformation, "%s Windows x64-%ld.%ld.%ld [%d.%d.%d]",
               Announcement("started", process_wide, key).data(),
               static_cast<long>(version.dwMajorVersion), static_cast<long>(version.dwMinorVersion),
               static_cast<long>(version.dwBuildNumber), kLibraryVersionMajor, kLibraryVersionMinor,
               kLibraryVersionBuild);
}

// Gives a reference to the caller's entry back and removes it with the last one: what the line that
// ends the log needs, if there is a file. `found` tells whether there was an entry.
std::optional<Target> ReleaseEntry(bool* found, bool* process_wide) {
  State& state = GetState();
  const std::lock_guard lock(state.lock);
  Entry* entry = FindLocked(state);
  *found = entry != nullptr;
  *process_wide = state.process_wide;
  if (entry == nullptr || --entry->references > 0) return std::nullopt;
  Target target{std::move(entry->path),
                {std::move(entry->name), entry->key, GetTickCount() - entry->last_tick},
                entry->flags};
  RemoveLocked(state, entry);
  return target.path.empty() ? std::nullopt : std::optional(std::move(target));
}

// What became of an entry.
struct Enabled {
  bool usable = false;
  bool is_new = false;
  bool process_wide = false;
  DWORD key = 0;
};

// Takes a reference to the caller's entry, or makes one.
Enabled EnableEntry(std::string_view file, DWORD flags, bool delete_file) {
  State& state = GetState();
  const std::lock_guard lock(state.lock);
  if ((flags & kFlagProcess) != 0) state.process_wide = true;
  flags &= ~kFlagProcess;
  if (flags == 0) flags = kFlagHexDump;
  Entry* entry = FindLocked(state);
  Enabled enabled{false, entry == nullptr, state.process_wide, KeyLocked(state)};
  if (entry == nullptr) {
    entry = AddLocked(state, flags);
    if (entry == nullptr) return enabled;
  } else if (!file.empty()) {
    entry->path.clear();
  }
  if (enabled.is_new || !file.empty()) {
    std::optional<std::string> path = ResolveLogFile(file);
    if (!path) return enabled;
    entry->path = *std::move(path);
  }
  if (enabled.is_new) {
    if (delete_file) DeleteLogFile(entry->path);
  } else {
    entry->flags = flags;
    ++entry->references;
  }
  enabled.usable = true;
  return enabled;
}

}  // namespace

std::atomic<int> live_entries{0};

bool Enable(LPCSTR file, DWORD flags) {
  const bool delete_file = (flags & kFlagDeleteFile) != 0;
  const Enabled enabled = EnableEntry(TextOf(file), flags & ~kFlagDeleteFile, delete_file);
  if (enabled.usable && enabled.is_new) WriteStarted(enabled.process_wide, enabled.key);
  return enabled.usable;
}

bool Disable() {
  bool found = false;
  bool process_wide = false;
  const std::optional<Target> target = ReleaseEntry(&found, &process_wide);
  if (target) {
    WriteTo(*target, {}, Announcement("stopped", process_wide, target->head.key).data());
  }
  return found;
}

void WriteMessage(Level level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteFormatted(static_cast<DWORD>(level) & ~kFlagHexDump, false, format, arguments);
  va_end(arguments);
}

void WriteCall(bool failed, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteFormatted(static_cast<DWORD>(Level::kCall), failed, format, arguments);
  va_end(arguments);
}

void WriteData(std::string_view bytes) {
  WriteLine(static_cast<DWORD>(Level::kHexDump), false, bytes);
}

void WriteSecureContent(const char* what, std::string_view bytes) {
  constexpr auto kContent = static_cast<DWORD>(Level::kSecureContent);
  Message line;
  std::snprintf(line.data(), line.size(), "%s buffer of %zu bytes", what, bytes.size());
  WriteLine(kContent, false, line.data());
  WriteLine(kContent | static_cast<DWORD>(Level::kHexDump), false, bytes);
}

}  // namespace qv::trace
