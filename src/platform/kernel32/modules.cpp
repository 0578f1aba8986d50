// The loader: modules and their functions by name.
#include <dlfcn.h>

#include <algorithm>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kernel32/errno_map.h"
#include "kernel32/module_paths.h"
#include "platform/module.h"

namespace platform {
namespace {

struct Loader {
  std::mutex mutex;
  std::vector<const Module*> modules;
  std::set<std::string> hidden_modules;  // normalized names
  std::set<std::pair<std::string, std::string>>
      hidden_functions;  // module and function, lower case
};

// Made when first asked for and never destroyed: modules attach during static initialization and
// detach during static destruction, in any order.
Loader& TheLoader() {
  static Loader& loader = *new Loader;
  return loader;
}

// What GetModuleHandleA gives for the program itself: a module without functions.
constexpr Module kExecutable = {"", nullptr, 0, nullptr, 0, nullptr};

HMODULE HandleOf(const Module* module) {
  return const_cast<void*>(static_cast<const void*>(module));
}

// The attached module of that normalized name, null when there is none or it is hidden. Under the
// loader's lock.
const Module* FindByName(const Loader& loader, const std::string& name) {
  if (loader.hidden_modules.count(name) != 0) return nullptr;
  for (const Module* module : loader.modules) {
    if (NormalizeModuleName(module->name) == name) return module;
  }
  return nullptr;
}

bool IsHidden(const std::string& name) {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  return loader.hidden_modules.count(name) != 0;
}

const Module* FindAttached(const std::string& name) {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  return FindByName(loader, name);
}

// Opens the shared object that holds a module and asks it for its record. Without the loader's
// lock: the object's static initialization may attach modules.
const Module* LoadFromFile(const std::string& name) {
  const std::string path = ModuleFilePath(name);
  if (path.empty()) return nullptr;
  void* const object = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (object == nullptr) return nullptr;
  const auto get_record = reinterpret_cast<GetModuleRecordFn>(dlsym(object, kGetModuleRecordName));
  const Module* const module = get_record != nullptr ? get_record() : nullptr;
  if (module == nullptr) {
    dlclose(object);
    return nullptr;
  }
  AttachModule(*module);
  return module;
}

HMODULE Found(const Module* module) {
  if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return HandleOf(module);
}

}  // namespace

const Module* ModuleFromHandle(HMODULE handle) noexcept {
  if (handle == nullptr || handle == HandleOf(&kExecutable)) return &kExecutable;
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  const auto found = std::find_if(loader.modules.begin(), loader.modules.end(),
                                  [&](const Module* module) { return HandleOf(module) == handle; });
  return found != loader.modules.end() ? *found : nullptr;
}

bool IsExecutable(const Module& module) noexcept { return &module == &kExecutable; }

void AttachModule(const Module& module) noexcept {
  Loader& loader = TheLoader();
  {
    const std::lock_guard lock(loader.mutex);
    auto& modules = loader.modules;
    if (std::find(modules.begin(), modules.end(), &module) != modules.end()) return;
    modules.push_back(&module);
  }
  if (module.entry != nullptr) module.entry(HandleOf(&module), DLL_PROCESS_ATTACH, nullptr);
}

void DetachModule(const Module& module) noexcept {
  if (ModuleFromHandle(HandleOf(&module)) == nullptr) return;
  if (module.entry != nullptr) module.entry(HandleOf(&module), DLL_PROCESS_DETACH, nullptr);
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  auto& modules = loader.modules;
  modules.erase(std::remove(modules.begin(), modules.end(), &module), modules.end());
}

namespace testing {

void HideModule(LPCSTR module) {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  loader.hidden_modules.insert(NormalizeModuleName(module));
}

void HideFunction(LPCSTR module, LPCSTR function) {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  loader.hidden_functions.emplace(NormalizeModuleName(module), LowerCase(function));
}

void Restore() {
  Loader& loader = TheLoader();
  const std::lock_guard lock(loader.mutex);
  loader.hidden_modules.clear();
  loader.hidden_functions.clear();
}

}  // namespace testing
}  // namespace platform

using platform::Module;

HMODULE WINAPI LoadLibraryA(LPCSTR name) noexcept {
  const std::string module_name = platform::NormalizeModuleName(name);
  if (module_name.empty() || platform::IsHidden(module_name)) return platform::Found(nullptr);
  if (const Module* module = platform::FindAttached(module_name)) return platform::Found(module);
  return platform::Found(platform::LoadFromFile(module_name));
}

HMODULE WINAPI GetModuleHandleA(LPCSTR name) noexcept {
  if (name == nullptr) return platform::HandleOf(&platform::kExecutable);
  return platform::Found(platform::FindAttached(platform::NormalizeModuleName(name)));
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) noexcept {
  const Module* const record = platform::ModuleFromHandle(module);
  if (record == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  constexpr UINT_PTR kLastOrdinal = 0xFFFF;  // a "name" up to here is an ordinal: there are none
  if (reinterpret_cast<UINT_PTR>(name) > kLastOrdinal) {
    platform::Loader& loader = platform::TheLoader();
    const std::lock_guard lock(loader.mutex);
    const auto* const end = record->exports + record->export_count;
    const auto* const found = std::find_if(record->exports, end, [&](const auto& candidate) {
      return std::string_view(candidate.name) == name;
    });
    const bool hidden = !loader.hidden_functions.empty() &&
                        loader.hidden_functions.count({platform::NormalizeModuleName(record->name),
                                                       platform::LowerCase(name)}) != 0;
    if (found != end && !hidden) return found->address;
  }
  SetLastError(ERROR_PROC_NOT_FOUND);
  return nullptr;
}

BOOL WINAPI FreeLibrary(HMODULE module) noexcept {
  if (module == nullptr || platform::ModuleFromHandle(module) == nullptr) {
    return platform::Fail(ERROR_INVALID_HANDLE);
  }
  return TRUE;
}
