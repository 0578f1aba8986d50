// Exported functions of event notification.
#include "events/freeze.h"
#include "events/notification_window.h"
#include "frame/boundary.h"
#include "frame/session.h"
#include "qvhttp12.h"

namespace {

constexpr UINT kAllEvents = 0xFFFFFFFF;

}  // namespace

INT WINAPI HttpEnableEventsEx(HCLIENT hClient, HWND hEventWnd, UINT uEventMsg,
                              UINT uEventMask) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        const qv::Error error = hEventWnd == nullptr
                                    ? qv::DisableEvents(session)
                                    : qv::EnableEvents(session, hEventWnd, uEventMsg, uEventMask);
        if (error) return error;
        return 0;
      });
}

INT WINAPI HttpEnableEvents(HCLIENT hClient, HWND hEventWnd, UINT uEventMsg) QV_NOEXCEPT {
  return HttpEnableEventsEx(hClient, hEventWnd, uEventMsg, kAllEvents);
}

INT WINAPI HttpDisableEvents(HCLIENT hClient) QV_NOEXCEPT {
  return HttpEnableEventsEx(hClient, nullptr, 0, 0);
}

INT WINAPI HttpRegisterEvent(HCLIENT hClient, UINT nEventId, HTTPEVENTPROC lpEventProc,
                             DWORD_PTR dwParam) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        for (std::size_t slot = 0; slot < session.events.callbacks.size(); ++slot) {
          if ((nEventId >> slot & 1u) != 0) session.events.callbacks[slot] = {lpEventProc, dwParam};
        }
        session.events.mask |= nEventId;
        return 0;
      });
}

INT WINAPI HttpFreezeEvents(HCLIENT hClient, BOOL bFreeze) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    qv::FreezeEvents(session, bFreeze != FALSE);
                                    return 0;
                                  });
}
