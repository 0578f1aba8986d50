// Exported functions of the library frame.
#include "frame/boundary.h"
#include "frame/error_text.h"
#include "frame/library.h"
#include "qvhttp12.h"

BOOL WINAPI HttpInitializeA(LPCSTR /*lpszReserved*/, DWORD_PTR /*dwReserved*/) QV_NOEXCEPT {
  return qv::Boundary<BOOL>(FALSE, []() -> qv::Result<BOOL> {
    if (qv::Error error = qv::library::Initialize()) return error;
    qv::SetLastError(qv::kNoError);
    return TRUE;
  });
}

void WINAPI HttpUninitialize(void) QV_NOEXCEPT {
  qv::Boundary<BOOL>(FALSE, []() -> qv::Result<BOOL> {
    qv::library::Uninitialize();
    return TRUE;
  });
}

DWORD WINAPI HttpGetLastError(void) QV_NOEXCEPT { return qv::LastError().code(); }

void WINAPI HttpSetLastError(DWORD dwError) QV_NOEXCEPT { qv::SetLastError(dwError); }

INT WINAPI HttpGetErrorStringA(DWORD dwError, LPSTR lpszError, INT nMaxLength) QV_NOEXCEPT {
  return qv::FormatErrorText(dwError, lpszError, nMaxLength);
}

DWORD WINAPI HttpAttachThread(HCLIENT hClient, DWORD dwThreadId) QV_NOEXCEPT {
  constexpr DWORD kNoThread = 0xFFFFFFFFu;
  return qv::Boundary<DWORD>(
      kNoThread, [&] { return qv::SessionTable::Get().ChangeOwner(hClient, dwThreadId); });
}
