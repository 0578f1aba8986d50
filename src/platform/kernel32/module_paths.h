// Names of modules, and where their files are.
#ifndef PLATFORM_KERNEL32_MODULE_PATHS_H_
#define PLATFORM_KERNEL32_MODULE_PATHS_H_

#include <string>

#include "platform/module.h"

namespace platform {

std::string LowerCase(LPCSTR text);

// A module's name without directory and ".dll", in lower case; empty for NULL.
std::string NormalizeModuleName(LPCSTR name);

// The shared object that would hold a module, beside the layer's own; empty when that is unknown.
std::string ModuleFilePath(const std::string& normalized_name);

// The record behind a module handle (that of the executable for NULL), null when it is none.
const Module* ModuleFromHandle(HMODULE handle) noexcept;
bool IsExecutable(const Module& module) noexcept;

}  // namespace platform

#endif  // PLATFORM_KERNEL32_MODULE_PATHS_H_
