// W forms of the header functions.
#include <vector>

#include "frame/boundary.h"
#include "frame/session.h"
#include "frame/wide.h"
#include "protocol/headers.h"

namespace {

// Reports the entry at the cursor in UTF-16; the cursor moves on only when both texts fit, so this
// cannot go through the A form, whose lengths are in bytes.
qv::Result<BOOL> ReportNextWide(qv::HeaderList& list, LPWSTR name, LPINT name_length, LPWSTR value,
                                LPINT value_length) {
  const qv::HeaderEntry* entry = list.Current();
  if (entry == nullptr) {
    *name_length = *value_length = 0;
    return qv::Error(QV_ERROR_HEADER_NOT_FOUND);
  }
  const std::u16string wide_name = qv::WideFromUtf8(entry->name);
  const std::u16string wide_value = qv::WideFromUtf8(entry->value);
  const INT name_capacity = *name_length;
  const INT value_capacity = *value_length;
  *name_length = static_cast<INT>(wide_name.size()) + 1;
  *value_length = static_cast<INT>(wide_value.size()) + 1;
  if ((name != nullptr && name_capacity < *name_length) ||
      (value != nullptr && value_capacity < *value_length)) {
    return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
  }
  qv::CopyWide(wide_name, name, name_capacity);
  qv::CopyWide(wide_value, value, value_capacity);
  list.Advance();
  return TRUE;
}

// A lookup through the A form, with room for any value that the caller's buffer can hold.
template <class Lookup>
BOOL GetHeader(LPWSTR value, INT capacity, Lookup&& lookup) {
  return qv::Boundary<BOOL>(FALSE, [&]() -> qv::Result<BOOL> {
    if (value != nullptr && capacity > 0) *value = u'\0';
    qv::NarrowBuffer buffer(value, capacity);
    if (!lookup(buffer.data(), buffer.capacity())) return qv::Error();
    if (value == nullptr || capacity <= 0) return TRUE;
    const std::u16string text = qv::WideFromUtf8(buffer.text());
    if (text.size() >= static_cast<std::size_t>(capacity)) {
      return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    }
    qv::CopyWide(text, value, capacity);
    return TRUE;
  });
}

}  // namespace

BOOL WINAPI HttpSetRequestHeaderW(HCLIENT hClient, LPCWSTR lpszHeader,
                                  LPCWSTR lpszValue) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(FALSE, [&] {
    return HttpSetRequestHeaderA(hClient, qv::NarrowText(lpszHeader), qv::NarrowText(lpszValue));
  });
}

BOOL WINAPI HttpGetRequestHeaderW(HCLIENT hClient, LPCWSTR lpszHeader, LPWSTR lpszValue,
                                  INT cchValue) QV_NOEXCEPT {
  return GetHeader(lpszValue, cchValue, [&](LPSTR value, INT capacity) {
    return HttpGetRequestHeaderA(hClient, qv::NarrowText(lpszHeader), value, capacity);
  });
}

BOOL WINAPI HttpGetResponseHeaderW(HCLIENT hClient, LPCWSTR lpszHeader, LPWSTR lpszValue,
                                   INT cchValue) QV_NOEXCEPT {
  return GetHeader(lpszValue, cchValue, [&](LPSTR value, INT capacity) {
    return HttpGetResponseHeaderA(hClient, qv::NarrowText(lpszHeader), value, capacity);
  });
}

BOOL WINAPI HttpGetFirstHeaderW(HCLIENT hClient, DWORD nHeaderType, LPWSTR lpszHeader,
                                LPINT lpcchHeader, LPWSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::Result<qv::HeaderList*> list =
        qv::ListToEnumerate(session, nHeaderType, lpcchHeader, lpcchValue, true);
    if (!list) return list.error();
    return ReportNextWide(**list, lpszHeader, lpcchHeader, lpszValue, lpcchValue);
  });
}

BOOL WINAPI HttpGetNextHeaderW(HCLIENT hClient, DWORD nHeaderType, LPWSTR lpszHeader,
                               LPINT lpcchHeader, LPWSTR lpszValue, LPINT lpcchValue) QV_NOEXCEPT {
  return qv::SessionBoundary<BOOL>(hClient, FALSE, [&](qv::Session& session) -> qv::Result<BOOL> {
    qv::Result<qv::HeaderList*> list =
        qv::ListToEnumerate(session, nHeaderType, lpcchHeader, lpcchValue, false);
    if (!list) return list.error();
    return ReportNextWide(**list, lpszHeader, lpcchHeader, lpszValue, lpcchValue);
  });
}

BOOL WINAPI HttpAddRequestHeadersW(HCLIENT hClient, LPCWSTR lpszHeaderList) QV_NOEXCEPT {
  return qv::TwinBoundary<BOOL>(
      FALSE, [&] { return HttpAddRequestHeadersA(hClient, qv::NarrowText(lpszHeaderList)); });
}
