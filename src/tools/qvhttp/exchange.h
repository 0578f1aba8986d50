#ifndef TOOLS_QVHTTP_EXCHANGE_H_
#define TOOLS_QVHTTP_EXCHANGE_H_

#include <memory>
#include <string>

#include "session.h"

// The response to a request, after the redirects that were followed.
struct Answer {
  std::unique_ptr<Session> session;  // its body is still to be read
  int status = 0;
  std::string redirect_note;  // why a redirect was not followed
};

// Sends a request, and follows redirects where the options say so. Options and progress outlive the
// answer. Throws Failure.
Answer Ask(const Options& options, Request request, Progress& progress);

#endif  // TOOLS_QVHTTP_EXCHANGE_H_
