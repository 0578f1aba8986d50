// Exported functions: settings, status and progress of a session.
#include <algorithm>
#include <bit>
#include <utility>

#include "frame/boundary.h"
#include "frame/session.h"
#include "platform/kernel32.h"
#include "protocol/transfer_status.h"

namespace {

constexpr INT kLongestTimeout = 3600;  // seconds
constexpr DWORD kChangeableOptions =
    HTTP_OPTION_NOCACHE | HTTP_OPTION_KEEPALIVE | HTTP_OPTION_REDIRECT | HTTP_OPTION_ERRORDATA |
    HTTP_OPTION_NOUSERAGENT | HTTP_OPTION_FREETHREAD | HTTP_OPTION_HIRES_TIMER;

bool IsSessionEncoding(INT type) {
  return (type >= HTTP_ENCODING_NONE && type <= HTTP_ENCODING_UTF8) || type == HTTP_ENCODING_XMLURL;
}

}  // namespace

INT WINAPI HttpGetTimeout(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [](qv::Session& session) -> qv::Result<INT> {
    return session.settings.timeout.load();
  });
}

INT WINAPI HttpSetTimeout(HCLIENT hClient, INT nTimeout) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    session.settings.timeout = std::min(nTimeout, kLongestTimeout);
                                    return 0;
                                  });
}

INT WINAPI HttpGetOption(HCLIENT hClient, DWORD dwOption, LPBOOL lpbEnabled) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    if (lpbEnabled == nullptr) {
                                      return qv::Error(QV_ERROR_INVALID_PARAMETER);
                                    }
                                    *lpbEnabled = session.Has(dwOption) ? TRUE : FALSE;
                                    qv::SetLastError(qv::kNoError);
                                    return 0;
                                  });
}

INT WINAPI HttpSetOption(HCLIENT hClient, DWORD dwOption, BOOL bEnabled) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (!std::has_single_bit(dwOption) || (dwOption & kChangeableOptions) == 0) {
          return qv::Error(QV_ERROR_INVALID_OPTION);
        }
        if (bEnabled) {
          session.settings.options |= dwOption;
        } else {
          session.settings.options &= ~dwOption;
        }
        qv::SetLastError(qv::kNoError);
        return 0;
      });
}

INT WINAPI HttpGetEncodingType(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [](qv::Session& session) -> qv::Result<INT> {
    return session.settings.encoding;
  });
}

INT WINAPI HttpSetEncodingType(HCLIENT hClient, INT nEncodingType) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    if (!IsSessionEncoding(nEncodingType))
                                      return qv::Error(QV_ERROR_INVALID_ENCODING_TYPE);
                                    session.settings.encoding = nEncodingType;
                                    return 0;
                                  });
}

INT WINAPI HttpGetPriority(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [](qv::Session& session) -> qv::Result<INT> {
    return session.settings.priority;
  });
}

INT WINAPI HttpSetPriority(HCLIENT hClient, INT nPriority) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        if (nPriority < HTTP_PRIORITY_LOWEST || nPriority > HTTP_PRIORITY_HIGHEST) {
          return qv::Error(QV_ERROR_INVALID_PARAMETER);
        }
        return std::exchange(session.settings.priority, nPriority);
      });
}

INT WINAPI HttpGetStatus(HCLIENT hClient) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Find(hClient);
    if (!session) return session.error();
    return (*session)->operation.status.load();
  });
}

INT WINAPI HttpGetTransferStatusEx(HCLIENT hClient, LPHTTPTRANSFERSTATUSEX lpStatus) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    qv::Result<qv::SessionRef> session = qv::SessionTable::Get().Find(hClient);
    if (!session) return session.error();
    if (lpStatus == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    *lpStatus = qv::TransferStatusOf((*session)->transfer, GetTickCount(),
                                     (*session)->Has(HTTP_OPTION_HIRES_TIMER));
    return 0;
  });
}

INT WINAPI HttpGetTransferStatus(HCLIENT hClient, LPHTTPTRANSFERSTATUS lpStatus) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    HTTPTRANSFERSTATUSEX status;
    if (HttpGetTransferStatusEx(hClient, &status) == HTTP_ERROR) return qv::Error();
    if (lpStatus == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    *lpStatus = qv::NarrowTransferStatus(status);
    return 0;
  });
}

INT WINAPI HttpEnableCompression(HCLIENT hClient, BOOL bEnable) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR,
                                  [&](qv::Session& session) -> qv::Result<INT> {
                                    session.settings.compression = bEnable != FALSE;
                                    return 0;
                                  });
}
