// user32.dll as the loader knows it.
#include "platform/module.h"

#include <iterator>

#include "platform/user32.h"

namespace {

using platform::ExportAddress;

const platform::ModuleExport kExports[] = {
    {"CallWindowProcA", ExportAddress(&CallWindowProcA)},
    {"CallWindowProcW", ExportAddress(&CallWindowProcW)},
    {"CreateWindowExA", ExportAddress(&CreateWindowExA)},
    {"CreateWindowExW", ExportAddress(&CreateWindowExW)},
    {"DefWindowProcA", ExportAddress(&DefWindowProcA)},
    {"DefWindowProcW", ExportAddress(&DefWindowProcW)},
    {"DestroyWindow", ExportAddress(&DestroyWindow)},
    {"DispatchMessageA", ExportAddress(&DispatchMessageA)},
    {"DispatchMessageW", ExportAddress(&DispatchMessageW)},
    {"GetActiveWindow", ExportAddress(&GetActiveWindow)},
    {"GetMessageA", ExportAddress(&GetMessageA)},
    {"GetMessageW", ExportAddress(&GetMessageW)},
    {"GetWindowLongPtrA", ExportAddress(&GetWindowLongPtrA)},
    {"GetWindowLongPtrW", ExportAddress(&GetWindowLongPtrW)},
    {"GetWindowThreadProcessId", ExportAddress(&GetWindowThreadProcessId)},
    {"IsWindow", ExportAddress(&IsWindow)},
    {"PeekMessageA", ExportAddress(&PeekMessageA)},
    {"PeekMessageW", ExportAddress(&PeekMessageW)},
    {"PostMessageA", ExportAddress(&PostMessageA)},
    {"PostMessageW", ExportAddress(&PostMessageW)},
    {"PostQuitMessage", ExportAddress(&PostQuitMessage)},
    {"RegisterClassA", ExportAddress(&RegisterClassA)},
    {"RegisterClassW", ExportAddress(&RegisterClassW)},
    {"SendMessageA", ExportAddress(&SendMessageA)},
    {"SendMessageW", ExportAddress(&SendMessageW)},
    {"SetActiveWindow", ExportAddress(&SetActiveWindow)},
    {"SetWindowLongPtrA", ExportAddress(&SetWindowLongPtrA)},
    {"SetWindowLongPtrW", ExportAddress(&SetWindowLongPtrW)},
    {"TranslateMessage", ExportAddress(&TranslateMessage)},
    {"UnregisterClassA", ExportAddress(&UnregisterClassA)},
    {"UnregisterClassW", ExportAddress(&UnregisterClassW)},
    {"WaitMessage", ExportAddress(&WaitMessage)},
};

const platform::Module kModule = {"user32.dll", kExports, std::size(kExports), nullptr, 0, nullptr};

[[maybe_unused]] const bool attached = [] {
  platform::AttachModule(kModule);
  return true;
}();

}  // namespace
