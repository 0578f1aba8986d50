// W forms of the path functions.
#include "frame/boundary.h"
#include "frame/wide.h"
#include "qvhttp12.h"

namespace {

// Room for the result of any of these functions in UTF-8.
constexpr INT kLongestResult = 5120;

// Calls an A form for the whole text, and gives it to a caller who may only ask for its length.
template <class Call>
INT WidePath(LPWSTR target, INT capacity, INT failure, Call&& call) {
  return qv::Boundary<INT>(failure, [&]() -> qv::Result<INT> {
    if (target != nullptr && capacity > 0) *target = u'\0';
    char text[kLongestResult];
    const INT result = call(text);
    if (result <= 0) return result == failure ? qv::Result<INT>(qv::Error()) : result;
    const std::u16string wide = qv::WideFromUtf8(text);
    if (target == nullptr || capacity == 0) return static_cast<INT>(wide.size());
    if (static_cast<INT>(wide.size()) >= capacity) return qv::Error(QV_ERROR_BUFFER_TOO_SMALL);
    return qv::CopyWide(wide, target, capacity);
  });
}

}  // namespace

INT WINAPI HttpNormalizePathW(LPCWSTR lpszResource, LPWSTR lpszNormalized,
                              INT nMaxLength) QV_NOEXCEPT {
  return WidePath(lpszNormalized, nMaxLength, HTTP_ERROR, [&](LPSTR text) {
    return HttpNormalizePathA(qv::NarrowText(lpszResource), text,
                              nMaxLength < 0 ? nMaxLength : kLongestResult);
  });
}

INT WINAPI HttpNormalizeUrlW(LPCWSTR lpszURL, LPWSTR lpszNormalized, INT nMaxLength) QV_NOEXCEPT {
  return WidePath(lpszNormalized, nMaxLength, HTTP_ERROR, [&](LPSTR text) {
    return HttpNormalizeUrlA(qv::NarrowText(lpszURL), text,
                             nMaxLength < 0 ? nMaxLength : kLongestResult);
  });
}

INT WINAPI HttpGetFilePathUrlW(HCLIENT hClient, LPCWSTR lpszFileName, LPWSTR lpszURL,
                               INT nMaxLength) QV_NOEXCEPT {
  return WidePath(lpszURL, nMaxLength, 0, [&](LPSTR text) {
    return HttpGetFilePathUrlA(hClient, qv::NarrowText(lpszFileName), text, kLongestResult);
  });
}
