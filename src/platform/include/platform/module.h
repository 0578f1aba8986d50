// How modules meet the loader: the layer's own modules and the library describe themselves with a
// record; LoadLibrary and GetProcAddress work on these records by name.
#ifndef PLATFORM_MODULE_H_
#define PLATFORM_MODULE_H_

#include "platform/kernel32.h"

namespace platform {

// One named function of a module.
struct ModuleExport {
  LPCSTR name;
  FARPROC address;
};

// The address of a function as an export table holds it.
template <typename Function>
FARPROC ExportAddress(Function* function) noexcept {
  // By way of the one function type that compilers let every other be cast to and from.
  return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

// One text of a module's message table, keyed by the full 32-bit code. Ends in CR LF.
struct ModuleMessage {
  DWORD id;
  LPCSTR text;
};

inline constexpr DWORD DLL_PROCESS_DETACH = 0;
inline constexpr DWORD DLL_PROCESS_ATTACH = 1;
using ModuleEntry = BOOL(WINAPI*)(HMODULE module, DWORD reason, LPVOID reserved);

// A module. The record and what it points to live as long as the process.
struct Module {
  LPCSTR name;  // "ws2_32.dll"; compared without case, ".dll" may be left out by callers
  const ModuleExport* exports;
  SIZE_T export_count;
  const ModuleMessage* messages;
  SIZE_T message_count;
  ModuleEntry entry;  // may be null
};

// Makes a module known to the loader and calls its entry point with DLL_PROCESS_ATTACH; the module
// handle is the record's address. Called from the module's static initialization.
QVPLATFORM_API void AttachModule(const Module& module) noexcept;

// Calls the entry point with DLL_PROCESS_DETACH and forgets the module.
QVPLATFORM_API void DetachModule(const Module& module) noexcept;

// A module that is a shared object of its own (libqv<name>.so beside the layer) exports one C
// function of this name and type, which returns its record.
using GetModuleRecordFn = const Module* (*)();
inline constexpr const char* kGetModuleRecordName = "QvGetModuleRecord";

namespace testing {

// Makes a module, or one function of a module, missing for the rest of the process (until Restore).
// What was bound before stays bound.
QVPLATFORM_API void HideModule(LPCSTR module);
QVPLATFORM_API void HideFunction(LPCSTR module, LPCSTR function);
QVPLATFORM_API void Restore();

}  // namespace testing
}  // namespace platform

#endif  // PLATFORM_MODULE_H_
