#ifndef TOOLS_QVHTTP_LIBRARY_SCOPE_H_
#define TOOLS_QVHTTP_LIBRARY_SCOPE_H_

#include "failure.h"
#include "qvhttp12.h"

// The library is started as long as one of these lives. The last one closes all sessions, and ends
// all tasks and queues.
class LibraryScope {
 public:
  LibraryScope() {
    if (!HttpInitializeA(nullptr, 0)) {
      throw LibraryFailure(ExitCode::kFailure, "cannot start the library");
    }
  }
  ~LibraryScope() { HttpUninitialize(); }
  LibraryScope(const LibraryScope&) = delete;
  LibraryScope& operator=(const LibraryScope&) = delete;
};

#endif  // TOOLS_QVHTTP_LIBRARY_SCOPE_H_
