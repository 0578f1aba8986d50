// Exported functions: forms.
#include <cstring>
#include <limits>

#include "forms/form_file.h"
#include "forms/form_table.h"
#include "forms/submit_form.h"
#include "frame/boundary.h"
#include "frame/library.h"
#include "frame/session.h"
#include "frame/text.h"

namespace {

constexpr DWORD kTextLength = ~DWORD{0};  // of data that is a text with a terminator

// Runs body(Form&) -> Error with the form and the library lock; 0 or HTTP_ERROR.
template <class Body>
INT FormBoundary(HFORM handle, Body&& body) noexcept {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    const qv::LibraryLock lock;
    qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(handle);
    if (!form) return form.error();
    if (qv::Error error = body(**form)) return error;
    return 0;
  });
}

// Puts a field in the place of the one that has its name; a nameless one is new.
qv::Error AddField(HFORM handle, qv::FormField field) {
  const qv::LibraryLock lock;
  qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(handle);
  if (!form) return form.error();
  if (!field.name.empty()) (*form)->Remove(field.name);
  (*form)->Append(std::move(field));
  return qv::kNoError;
}

qv::Result<std::string> FieldData(LPCVOID data, DWORD size) {
  if (data == nullptr) return std::string();
  const auto* bytes = static_cast<const char*>(data);
  if (size != kTextLength) return std::string(bytes, size);
  const std::string_view text = bytes;
  if (text.size() > std::numeric_limits<DWORD>::max()) return qv::Error(QV_ERROR_OUT_OF_MEMORY);
  return std::string(text);
}

qv::Error CheckTakesFiles(const qv::FormContent& form) {
  if (!form.IsPost()) return QV_ERROR_INVALID_FORM_METHOD;
  return form.IsMultipart() ? qv::kNoError : qv::Error(QV_ERROR_INVALID_FORM_TYPE);
}

// Begins to add a file: the form takes files, and gives up the field whose name the file will have.
qv::Error MakeWay(HFORM handle, const std::string& name, bool remove) {
  const qv::LibraryLock lock;
  qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(handle);
  if (!form) return form.error();
  if (qv::Error error = CheckTakesFiles((*form)->content())) return error;
  if (remove && !name.empty()) (*form)->Remove(name);
  return qv::kNoError;
}

qv::Error AddFile(HFORM handle, LPCSTR field_name, std::string_view path) {
  if (qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(handle); !form) return form.error();
  if (path.empty() || path.find_first_of("\r\n") != path.npos) return QV_ERROR_INVALID_FILE_NAME;
  qv::Result<std::string> name = qv::FieldName(qv::TextOf(field_name));
  if (!name) return name.error();
  if (qv::Error error = MakeWay(handle, *name, false)) return error;
  qv::Result<qv::FormFile> file = qv::FormFile::Open(path);
  if (!file) return file.error();
  if (qv::Error error = MakeWay(handle, *name, true)) return error;
  qv::Result<std::string> content = file->ReadAll();
  if (!content) return content.error();
  qv::FormField field;
  field.kind = qv::FieldKind::kFile;
  field.name = *std::move(name);
  field.shown_name = qv::ShownFileName(path);
  field.data = *std::move(content);
  return AddField(handle, std::move(field));
}

}  // namespace

HFORM WINAPI HttpCreateFormA(LPCSTR lpszFormAction, UINT nFormMethod, UINT nFormType,
                             DWORD dwReserved) QV_NOEXCEPT {
  return qv::Boundary<HFORM>(INVALID_FORM, [&]() -> qv::Result<HFORM> {
    if (qv::Error error = qv::library::CheckInitialized()) return error;
    if (qv::Error error = qv::CheckFormAction(lpszFormAction)) return error;
    const qv::FormChange properties{nFormMethod, nFormType, lpszFormAction};
    if (qv::Error error = qv::CheckFormChange(properties)) return error;
    if (nFormMethod != HTTP_METHOD_POST && nFormType == HTTP_FORM_MULTIPART) {
      return qv::Error(QV_ERROR_INVALID_FORM_TYPE);
    }
    if (dwReserved != 0) return qv::Error(QV_ERROR_INVALID_PARAMETER);
    return qv::FormTable::Get().Create(properties);
  });
}

INT WINAPI HttpDestroyForm(HFORM hForm) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (qv::Error error = qv::FormTable::Get().Destroy(hForm)) return error;
    return 0;
  });
}

INT WINAPI HttpGetFormPropertiesA(HFORM hForm, LPHTTPFORMPROPERTIESA lpFormProp) QV_NOEXCEPT {
  return FormBoundary(hForm, [&](qv::Form& form) -> qv::Error {
    if (lpFormProp == nullptr) return QV_ERROR_INVALID_PARAMETER;
    const qv::FormContent& content = form.content();
    *lpFormProp = {content.method, content.type, content.action.c_str(), 0, 0};
    return qv::kNoError;
  });
}

INT WINAPI HttpSetFormPropertiesA(HFORM hForm, const HTTPFORMPROPERTIESA* lpFormProp) QV_NOEXCEPT {
  return FormBoundary(hForm, [&](qv::Form& form) -> qv::Error {
    if (lpFormProp == nullptr) return QV_ERROR_INVALID_PARAMETER;
    const qv::FormChange change{lpFormProp->nFormMethod, lpFormProp->nFormType,
                                lpFormProp->lpszFormAction};
    if (qv::Error error = qv::CheckFormChange(change)) return error;
    form.Change(change);
    return qv::kNoError;
  });
}

INT WINAPI HttpAddFormFieldA(HFORM hForm, LPCSTR lpszFieldName, LPCVOID lpFieldData,
                             DWORD cbFieldData, DWORD /*dwReserved*/) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(hForm);
    if (!form) return form.error();
    qv::Result<std::string> name = qv::FieldName(qv::TextOf(lpszFieldName));
    if (!name) return name.error();
    qv::Result<std::string> data = FieldData(lpFieldData, cbFieldData);
    if (!data) return data.error();
    qv::FormField field;
    field.name = *std::move(name);
    field.data = *std::move(data);
    if (qv::Error error = AddField(hForm, std::move(field))) return error;
    return 0;
  });
}

INT WINAPI HttpAddFormFileA(HFORM hForm, LPCSTR lpszFieldName, LPCSTR lpszFileName,
                            DWORD /*dwReserved*/) QV_NOEXCEPT {
  return qv::Boundary<INT>(HTTP_ERROR, [&]() -> qv::Result<INT> {
    if (qv::Error error = AddFile(hForm, lpszFieldName, qv::TextOf(lpszFileName))) return error;
    return 0;
  });
}

INT WINAPI HttpDeleteFormFieldA(HFORM hForm, LPCSTR lpszFieldName) QV_NOEXCEPT {
  return FormBoundary(hForm, [&](qv::Form& form) -> qv::Error {
    const qv::Result<std::string> name = qv::FieldName(qv::TextOf(lpszFieldName));
    if (!name) return name.error();
    if (name->empty()) return QV_ERROR_INVALID_FORM_FIELD;
    if (form.content().fields.empty()) return QV_ERROR_EMPTY_FORM;
    return form.Remove(*name) ? qv::kNoError : qv::Error(QV_ERROR_INVALID_FORM_FIELD);
  });
}

INT WINAPI HttpClearForm(HFORM hForm) QV_NOEXCEPT {
  return FormBoundary(hForm, [](qv::Form& form) {
    form.Clear();
    return qv::kNoError;
  });
}

INT WINAPI HttpSubmitFormA(HCLIENT hClient, HFORM hForm, LPVOID lpvResult, LPDWORD lpcbResult,
                           DWORD dwOptions) QV_NOEXCEPT {
  return qv::SessionBoundary<INT>(
      hClient, HTTP_ERROR, [&](qv::Session& session) -> qv::Result<INT> {
        qv::FormContent content;
        {
          const qv::LibraryLock lock;
          qv::Result<qv::FormRef> form = qv::FormTable::Get().Find(hForm);
          if (!form) return form.error();
          content = (*form)->content();
        }
        return qv::SubmitForm(session, content, lpvResult, lpcbResult, dwOptions);
      });
}
