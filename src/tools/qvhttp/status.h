#ifndef TOOLS_QVHTTP_STATUS_H_
#define TOOLS_QVHTTP_STATUS_H_

#include "exchange.h"
#include "exit_codes.h"
#include "failure.h"

// Whether a status lets a response to a method other than HEAD have a body (RFC 9112 section 6.3).
bool StatusHasBody(int status);

bool IsSuccess(int status);

// Whether a status sends the client to another URL by itself (RFC 9110 section 15.4).
bool IsRedirect(int status);

// The exit code for a final response.
ExitCode ExitCodeOfStatus(int status);

// Tells the user on stderr what a response without success means, and returns the exit code for it.
ExitCode ReportStatus(const Answer& answer);

// The same as a Failure, of a download that needs a success.
Failure StatusFailure(const Answer& answer);

#endif  // TOOLS_QVHTTP_STATUS_H_
