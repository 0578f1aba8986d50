// kernel32 as a module: what applications look up by name instead of linking to it. IsWow64Process
// is absent because no process here is an emulated one.
#include "platform/module.h"

#include <iterator>

namespace {

const platform::ModuleExport kExports[] = {
    {"GetComputerNameExA", platform::ExportAddress(&GetComputerNameExA)},
    {"GetTickCount", platform::ExportAddress(&GetTickCount)},
    {"GetVersionExA", platform::ExportAddress(&GetVersionExA)},
};

const platform::Module kModule = {"kernel32.dll", kExports, std::size(kExports),
                                  nullptr,        0,        nullptr};

[[maybe_unused]] const bool attached = [] {
  platform::AttachModule(kModule);
  return true;
}();

}  // namespace
