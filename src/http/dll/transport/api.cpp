// Exported functions of the trace log.
#include "frame/boundary.h"
#include "transport/trace.h"

BOOL WINAPI HttpEnableTraceA(LPCSTR lpszTraceFile, DWORD dwTraceFlags) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    return qv::trace::Enable(lpszTraceFile, dwTraceFlags) ? TRUE : FALSE;
  });
}

BOOL WINAPI HttpDisableTrace(void) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(
      FALSE, []() -> qv::Result<BOOL> { return qv::trace::Disable() ? TRUE : FALSE; });
}
