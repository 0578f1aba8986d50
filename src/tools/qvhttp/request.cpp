#include "body.h"
#include "commands.h"
#include "output.h"
#include "session.h"
#include "status.h"

ExitCode RunRequest(const Options& options) {
  Session session(options);
  const int status = session.Send();
  if (IsSuccess(status) || (StatusHasBody(status) && options.method != "HEAD")) {
    // A file gets only what was asked for; the page of an error goes to standard output.
    Output output(IsSuccess(status) ? options.output : std::string());
    if (StatusHasBody(status) && options.method != "HEAD") CopyBody(session, output);
    output.Finish();
  }
  return ReportStatus(session, status);
}
