#include <unistd.h>

#include "commands.h"
#include "delivery.h"
#include "exchange.h"
#include "status.h"

ExitCode RunRequest(const Options& options) {
  // A line of progress and a body do not mix on one terminal.
  Progress progress(!options.output.empty() || isatty(STDOUT_FILENO) == 0);
  Request request = FirstRequest(options);
  request.decodes = options.compressed;
  const Answer answer = Ask(options, request, progress);
  // A file gets only what was asked for; the page of an error goes to standard output.
  DeliverBody(answer, progress, IsSuccess(answer.status) ? options.output : std::string());
  return ReportStatus(answer);
}
