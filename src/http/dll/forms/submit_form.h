// Sending forms.
#ifndef QV_FORMS_SUBMIT_FORM_H_
#define QV_FORMS_SUBMIT_FORM_H_

#include "forms/form.h"

namespace qv {

struct Session;

// Sends a form over a session, to which the handle belongs; outputs and options are those of the
// data functions, and so are the result code and the errors, beside the form's own.
Result<INT> SubmitForm(Session& session, const FormContent& form, LPVOID result,
                       LPDWORD result_length, DWORD options);

}  // namespace qv

#endif  // QV_FORMS_SUBMIT_FORM_H_
