#include "forms/submit_form.h"

#include "forms/form_encoder.h"
#include "frame/session.h"

namespace qv {
namespace {

constexpr DWORD kMajorVersionShift = 16;

// The type of a multipart document, for the request that is sent in the scope: neither later
// requests nor those after a failure get it.
class MultipartType {
 public:
  MultipartType(Session& session, const std::string& boundary) : session_(session) {
    HeaderEntry& type =
        session.request.headers.Set(kName, "multipart/form-data; boundary=" + boundary);
    type.lifetime = Lifetime::kNextRequest;
  }
  ~MultipartType() {
    const HeaderEntry* type = session_.request.headers.Find(kName);
    const bool unused = type != nullptr && type->lifetime == Lifetime::kNextRequest;
    if (unused) session_.request.headers.Remove(kName);
  }
  MultipartType(const MultipartType&) = delete;
  MultipartType& operator=(const MultipartType&) = delete;

 private:
  static constexpr std::string_view kName = "Content-Type";

  Session& session_;
};

INT Post(Session& session, const FormContent& form, const std::string& body, LPVOID result,
         LPDWORD result_length, DWORD options) {
  std::optional<MultipartType> type;
  if (form.IsMultipart()) {
    type.emplace(session, form.boundary);
    options |= HTTP_POST_MULTIPART;
  } else {
    options &= ~HTTP_POST_MULTIPART;
  }
  return HttpPostDataA(session.handle, form.action.c_str(), body.data(),
                       static_cast<DWORD>(body.size()), result, result_length, options);
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
  if (form.IsPost()) {
    result_code = Post(session, form, *body, result, result_length, options);
  } else {
    const std::string resource = form.action + "?" + *body;
    result_code = HttpGetDataA(session.handle, resource.c_str(), result, result_length, options);
  }
  if (result_code == HTTP_ERROR) return kNoError;  // the reason is in the slot
  return result_code;
}

}  // namespace qv
