#ifndef TOOLS_QVHTTP_EXIT_CODES_H_
#define TOOLS_QVHTTP_EXIT_CODES_H_

// What qvhttp reports to the shell. Scripts depend on these values.
enum class ExitCode : int {
  kSuccess = 0,
  kUsage = 2,            // unknown option, malformed URL or header
  kConnect = 3,          // the host is unknown, refuses, cannot be reached or trusted
  kTimeout = 4,          // connecting or a later wait took longer than --timeout
  kFailure = 5,          // broken response, short body, local file
  kClientStatus = 22,    // status 400 to 499
  kRedirectStatus = 23,  // status 301, 302, 303, 307 or 308 that was not followed
  kServerStatus = 25,    // status 500 to 599
  kInterrupted = 130,    // Ctrl-C, as shells report it: 128 and the signal's number
};

#endif  // TOOLS_QVHTTP_EXIT_CODES_H_
