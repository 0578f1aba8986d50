// The library's process-wide state: attachment, the library lock, the initialisation count.
#ifndef QV_FRAME_LIBRARY_H_
#define QV_FRAME_LIBRARY_H_

#include "frame/error.h"
#include "platform/kernel32.h"

namespace qv {

inline constexpr int kLibraryVersionMajor = 12;
inline constexpr int kLibraryVersionMinor = 0;
inline constexpr int kLibraryVersionBuild = 3024;

// Unattached -> attached (module loaded, or first Initialize) -> initialised (count >= 1).
namespace library {

// The steps of process attach and detach; `module` is NULL when the library is used without having
// been loaded as a module. Repeated calls do nothing.
void Attach(HMODULE module);
void Detach();

// Starts the networking services and counts the call.
Error Initialize();

// Undoes one Initialize; the last one ends everything that is still open.
void Uninitialize();

// QV_ERROR_NETWORK_NOT_INITIALIZED until Initialize has succeeded.
Error CheckInitialized();

// The library's own module, NULL when it was not loaded as one.
HMODULE Module();

// What client handles count from: 4096 to 4351, chosen once per process.
DWORD HandleBase();

// The thread-local slot of errors; TLS_OUT_OF_INDEXES when there is none.
DWORD ErrorSlotIndex();

}  // namespace library

// Holds the library lock: a recursive lock for bookkeeping only, never held over I/O, a wait, an
// event or a callback. Does nothing while the library is not attached.
class LibraryLock {
 public:
  LibraryLock();
  ~LibraryLock();
  LibraryLock(const LibraryLock&) = delete;
  LibraryLock& operator=(const LibraryLock&) = delete;

 private:
  bool held_;
};

}  // namespace qv

#endif  // QV_FRAME_LIBRARY_H_
