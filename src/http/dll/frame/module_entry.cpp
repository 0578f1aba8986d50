// The library as a loaded module: its record, and the entry point that the loader calls.
#include "frame/library.h"
#include "frame/message_table.h"
#include "platform/module.h"

namespace {

BOOL WINAPI ModuleEntryPoint(HMODULE module, DWORD reason, LPVOID /*reserved*/) {
  if (reason == platform::DLL_PROCESS_ATTACH) qv::library::Attach(module);
  if (reason == platform::DLL_PROCESS_DETACH) qv::library::Detach();
  return TRUE;
}

class LoadedModule {
 public:
  LoadedModule()
      : record_{"QVHTTP12.dll",  nullptr, 0, qv::MessageTable().data(), qv::MessageTable().size(),
                ModuleEntryPoint} {
    platform::AttachModule(record_);
  }
  ~LoadedModule() { platform::DetachModule(record_); }
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

 private:
  platform::Module record_;
};

const LoadedModule loaded_module;

}  // namespace
