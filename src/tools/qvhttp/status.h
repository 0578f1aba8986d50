#ifndef TOOLS_QVHTTP_STATUS_H_
#define TOOLS_QVHTTP_STATUS_H_

#include "exit_codes.h"
#include "session.h"

// Whether a status lets a response to a method other than HEAD have a body (RFC 9112 section 6.3).
bool StatusHasBody(int status);

bool IsSuccess(int status);

// Tells the user on stderr what a response without success means, and returns the exit code for it.
ExitCode ReportStatus(const Session& session, int status);

#endif  // TOOLS_QVHTTP_STATUS_H_
