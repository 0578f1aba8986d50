// W forms of the trace log's functions.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"

BOOL WINAPI HttpEnableTraceW(LPCWSTR lpszTraceFile, DWORD dwTraceFlags) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(
      FALSE, [&] { return HttpEnableTraceA(qv::NarrowText(lpszTraceFile), dwTraceFlags); });
}
