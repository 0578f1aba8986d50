#ifndef TOOLS_QVHTTP_FAILURE_H_
#define TOOLS_QVHTTP_FAILURE_H_

#include <stdexcept>
#include <string>

#include "exit_codes.h"

// Ends the run: the sentence for the user and the exit code for the shell.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// The library's text for an error code; the code itself when it has no text.
std::string ErrorText(unsigned int error);

// A failure for the thread's last library error: "<what>: <text>". A time-out always gives
// kTimeout, every other error gives `code`.
Failure LibraryFailure(ExitCode code, const std::string& what);

#endif  // TOOLS_QVHTTP_FAILURE_H_
