// W forms of the functions for forms.
#include <string>

#include "forms/form_table.h"
#include "frame/boundary.h"
#include "frame/library.h"
#include "frame/wide.h"
#include "transfer/one_call_text.h"

namespace {

constexpr DWORD kTextLength = ~DWORD{0};  // of data that is a text with a terminator

}  // namespace

HFORM WINAPI HttpCreateFormW(LPCWSTR lpszFormAction, UINT nFormMethod, UINT nFormType,
                             DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<HFORM>(INVALID_FORM, [&] {
    return HttpCreateFormA(qv::NarrowText(lpszFormAction), nFormMethod, nFormType, dwReserved);
  });
}

INT WINAPI HttpGetFormPropertiesW(HFORM hForm, LPHTTPFORMPROPERTIESW lpFormProp) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    const qv::LibraryLock lock;
    qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(hForm);
    if (!form) return form.error();
    if (lpFormProp == nullptr) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    const qv::FormContent& content = (*form)->content();
    *lpFormProp = {content.method, content.type, (*form)->WideAction(), 0, 0};
    return 0;
  });
}

INT WINAPI HttpSetFormPropertiesW(HFORM hForm, const HTTPFORMPROPERTIESW* lpFormProp) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    if (lpFormProp == nullptr) return HttpSetFormPropertiesA(hForm, nullptr);
    const qv::NarrowText action(lpFormProp->lpszFormAction);
    const HTTPFORMPROPERTIESA narrow{lpFormProp->nFormMethod, lpFormProp->nFormType, action, 0, 0};
    return HttpSetFormPropertiesA(hForm, &narrow);
  });
}

INT WINAPI HttpAddFormFieldW(HFORM hForm, LPCWSTR lpszFieldName, LPCVOID lpFieldData,
                             DWORD cbFieldData, DWORD dwReserved) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(hForm);
    if (!form) return form.error();
    std::string text;
    if (lpFieldData != nullptr && cbFieldData == kTextLength) {
      std::optional<std::string> narrow = qv::StrictUtf8(static_cast<LPCWSTR>(lpFieldData));
      if (!narrow) return qv::Error(QV_ERROR_INVALID_UNICOODE);
      text = *std::move(narrow);
      lpFieldData = text.c_str();
    }
    const INT result = HttpAddFormFieldA(hForm, qv::NarrowText(lpszFieldName), lpFieldData,
                                         cbFieldData, dwReserved);
    if (result == HTTP_ERROR) return qv::Error();
    return result;
  });
}

INT WINAPI HttpAddFormFileW(HFORM hForm, LPCWSTR lpszFieldName, LPCWSTR lpszFileName,
                            DWORD dwReserved) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(HTTP_ERROR, [&] {
    return HttpAddFormFileA(hForm, qv::NarrowText(lpszFieldName), qv::NarrowText(lpszFileName),
                            dwReserved);
  });
}

INT WINAPI HttpDeleteFormFieldW(HFORM hForm, LPCWSTR lpszFieldName) QV_NOEXCEPT {
  return qv::TwinBoundary<INT>(
      HTTP_ERROR, [&] { return HttpDeleteFormFieldA(hForm, qv::NarrowText(lpszFieldName)); });
}

INT WINAPI HttpSubmitFormW(HCLIENT hClient, HFORM hForm, LPVOID lpvResult, LPDWORD lpcbResult,
                           DWORD dwOptions) QV_NOEXCEPT {
  return HttpSubmitFormA(hClient, hForm, lpvResult, lpcbResult, dwOptions);
}
