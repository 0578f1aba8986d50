// Exported functions: request and response headers.
#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "protocol/headers.h"

namespace {

// The lookup behind both Get...Header functions.
qv::Result<BOOL> FindHeader(qv::HeaderList& list, LPCSTR name, LPSTR value, INT capacity) {
  qv::SetLastError(qv::kNoError);
  if (qv::TextOf(name).empty()) return qv::Error(QV_ERROR_INVALID_HEADER_NAME);
  if (value != nullptr && capacity > 0) *value = '\0';
  const qv::HeaderEntry* entry = list.Find(name);
  if (entry == nullptr) return qv::Error(QV_ERROR_HEADER_NOT_FOUND);
  if (value == nullptr || capacity <= 0) return TRUE;
  if (entry->value.size() >= static_cast<std::size_t>(capacity)) {
    return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
  }
  qv::CopyText(entry->value, value, capacity);
  return TRUE;
}

// Reports the entry at the cursor and moves on; stays on it when a buffer is too small.
qv::Result<BOOL> ReportNext(qv::HeaderList& list, LPSTR name, LPINT name_length, LPSTR value,
                            LPINT value_length) {
  const qv::HeaderEntry* entry = list.Current();
  if (entry == nullptr) {
    *name_length = *value_length = 0;
    return qv::Error(QV_ERROR_HEADER_NOT_FOUND);
  }
  const INT name_capacity = *name_length;
  const INT value_capacity = *value_length;
  *name_length = static_cast<INT>(entry->name.size()) + 1;
  *value_length = static_cast<INT>(entry->value.size()) + 1;
  if ((name != nullptr && name_capacity < *name_length) ||
      (value != nullptr && value_capacity < *value_length)) {
    return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
  }
  qv::CopyText(entry->name, name, name_capacity);
  qv::CopyText(entry->value, value, value_capacity);
  list.Advance();
  return TRUE;
}

}  // namespace

BOOL WINAPI HttpSetRequestHeaderA(HCLIENT hClient, LPCSTR lpszHeader,
                                  LPCSTR lpszValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    if (qv::Error error =
            qv::SetRequestHeader(session, qv::TextOf(lpszHeader), qv::TextOf(lpszValue))) {
      return error;
    }
    return TRUE;
  });
}

BOOL WINAPI HttpGetRequestHeaderA(HCLIENT hClient, LPCSTR lpszHeader, LPSTR lpszValue,
                                  INT cchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) {
    return FindHeader(session.request.headers, lpszHeader, lpszValue, cchValue);
  });
}

BOOL WINAPI HttpGetResponseHeaderA(HCLIENT hClient, LPCSTR lpszHeader, LPSTR lpszValue,
                                   INT cchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) {
    return FindHeader(session.response.headers, lpszHeader, lpszValue, cchValue);
  });
}

BOOL WINAPI HttpGetFirstHeaderA(HCLIENT hClient, DWORD nHeaderType, LPSTR lpszHeader,
                                LPINT lpcchHeader, LPSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::Result<qv::HeaderList*> list =
        qv::ListToEnumerate(session, nHeaderType, lpcchHeader, lpcchValue, true);
    if (!list) return list.error();
    return ReportNext(**list, lpszHeader, lpcchHeader, lpszValue, lpcchValue);
  });
}

BOOL WINAPI HttpGetNextHeaderA(HCLIENT hClient, DWORD nHeaderType, LPSTR lpszHeader,
                               LPINT lpcchHeader, LPSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::Result<qv::HeaderList*> list =
        qv::ListToEnumerate(session, nHeaderType, lpcchHeader, lpcchValue, false);
    if (!list) return list.error();
    return ReportNext(**list, lpszHeader, lpcchHeader, lpszValue, lpcchValue);
  });
}

BOOL WINAPI HttpDeleteHeaders(HCLIENT hClient, DWORD nHeaderType) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::HeaderList* list = qv::HeaderListOf(session, nHeaderType);
    if (list == nullptr) return qv::Error(QV_ERROR_INVALID_HEADER_TYPE);
    list->Clear();
    return TRUE;
  });
}

INT WINAPI HttpClearHeaders(HCLIENT hClient) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(hClient, HTTP_ERROR, [](qv::Session& session) -> qv::Result<INT> {
    if (qv::Error error = qv::ClearHeaders(session)) return error;
    return 0;
  });
}

BOOL WINAPI HttpAddRequestHeadersA(HCLIENT hClient, LPCSTR lpszHeaderList) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    if (lpszHeaderList == nullptr) return qv::Error(QV_ERROR_INVALID_REQUEST_HEADER);
    qv::Result<int> count = qv::AddRequestHeaders(session, lpszHeaderList);
    if (!count) return count.error();
    qv::SetLastError(qv::kNoError);
    return *count > 0 ? TRUE : FALSE;
  });
}
