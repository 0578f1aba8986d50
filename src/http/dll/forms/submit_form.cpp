#include "forms/submit_form.h"

#include "forms/form_encoder.h"
#include "frame/session.h"

namespace qv {
namespace {

constexpr DWORD kMajorVersionShift = 16;

constexpr std::string_view kTypeHeader = "Content-Type";

// Sends a multipart document. Its type is for this request alone: what the application has set is
// back afterwards, also when nothing was sent.
INT PostMultipart(Session& session, const FormContent& form, const std::string& body, LPVOID result,
                  LPDWORD result_length, DWORD options) {
  HeaderList& headers = session.request.headers;
  std::optional<HeaderEntry> own_type;
  if (const HeaderEntry* type = headers.Find(kTypeHeader)) own_type = *type;
  headers.Set(kTypeHeader, "multipart/form-data; boundary=" + form.boundary).lifetime =
      Lifetime::kNextRequest;
  const INT result_code = HttpPostDataA(session.handle, form.action.c_str(), body.data(),
                                        static_cast<DWORD>(body.size()), result, result_length,
                                        options | HTTP_POST_MULTIPART);
  headers.Remove(kTypeHeader);
  if (own_type) headers.Set(kTypeHeader, own_type->value).lifetime = own_type->lifetime;
  return result_code;
}

}  // namespace

Result<INT> SubmitForm(Session& session, const FormContent& form, LPVOID result,
                       LPDWORD result_length, DWORD options) {
  if (form.action.empty()) return Error(QV_ERROR_INVALID_FORM_ACTION);
  const bool has_bodies = session.settings.version >> kMajorVersionShift != 0;
  if (form.IsPost() && !has_bodies) return Error(QV_ERROR_INVALID_FORM_METHOD);
  const Result<std::string> body = EncodeForm(form);
  if (!body) return body.error();
  INT result_code = HTTP_ERROR;
  if (form.IsMultipart()) {
    result_code = PostMultipart(session, form, *body, result, result_length, options);
  } else if (form.IsPost()) {
    result_code = HttpPostDataA(session.handle, form.action.c_str(), body->data(),
                                static_cast<DWORD>(body->size()), result, result_length,
                                options & ~HTTP_POST_MULTIPART);
  } else {
    const std::string resource = form.action + "?" + *body;
    result_code = HttpGetDataA(session.handle, resource.c_str(), result, result_length, options);
  }
  if (result_code == HTTP_ERROR) return kNoError;  // the reason is in the slot
  return result_code;
}

}  // namespace qv
