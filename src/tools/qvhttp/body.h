#ifndef TOOLS_QVHTTP_BODY_H_
#define TOOLS_QVHTTP_BODY_H_

#include "output.h"
#include "session.h"

// Copies the body of the response to `output`, whole: a body that ends early throws Failure.
void CopyBody(Session& session, Output& output);

#endif  // TOOLS_QVHTTP_BODY_H_
