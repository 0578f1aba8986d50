// The body of a form submission.
#ifndef QV_FORMS_FORM_ENCODER_H_
#define QV_FORMS_FORM_ENCODER_H_

#include <string>

#include "forms/form.h"

namespace qv {

// A multipart/form-data document (RFC 7578) for a multipart form that is posted, else pairs
// "name=value" with "&" in between. Of the pairs only the values are encoded, and files have none.
// QV_ERROR_EMPTY_FORM, QV_ERROR_OUT_OF_MEMORY (longer than 32 bits can count).
Result<std::string> EncodeForm(const FormContent& form);

}  // namespace qv

#endif  // QV_FORMS_FORM_ENCODER_H_
