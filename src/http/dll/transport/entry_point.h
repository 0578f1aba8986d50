// Functions of platform modules, found by name.
#ifndef QV_TRANSPORT_ENTRY_POINT_H_
#define QV_TRANSPORT_ENTRY_POINT_H_

#include "platform/kernel32.h"

namespace qv {

// The function of that name as a pointer of its type; NULL when the module or the function is
// absent.
template <class Function>
Function FindEntryPoint(HMODULE module, const char* name) {
  if (module == nullptr) return nullptr;
  // By way of the function type that every other may be cast to and from.
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

}  // namespace qv

#endif  // QV_TRANSPORT_ENTRY_POINT_H_
