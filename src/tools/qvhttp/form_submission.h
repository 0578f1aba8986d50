#ifndef TOOLS_QVHTTP_FORM_SUBMISSION_H_
#define TOOLS_QVHTTP_FORM_SUBMISSION_H_

#include <string>

#include "form_data.h"
#include "qvhttp12.h"

// Submits a form over a session to a path (with query), and keeps the body of the response. Returns
// the status, or HTTP_ERROR. Throws Failure when the form cannot be filled in.
int SubmitForm(HCLIENT client, const FormData& data, const std::string& target,
               std::string& response);

#endif  // TOOLS_QVHTTP_FORM_SUBMISSION_H_
