// Exported functions of event notification.
#include "frame/boundary.h"
#include "frame/session.h"
#include "qvhttp12.h"

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
