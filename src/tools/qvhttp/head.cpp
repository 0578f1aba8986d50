#include <iostream>

#include "commands.h"
#include "exchange.h"
#include "failure.h"
#include "status.h"

ExitCode RunHead(const Options& options) {
  Progress no_progress(false);
  const Answer answer = Ask(options, FirstRequest(options), no_progress);
  std::cout << "HTTP " << answer.status << ' ' << answer.session->ReasonPhrase() << '\n';
  for (const auto& [name, value] : answer.session->Headers(HTTP_HEADERS_RESPONSE)) {
    std::cout << name << ": " << value << '\n';
  }
  if (!std::cout.flush()) throw Failure(ExitCode::kFailure, "cannot write the output");
  return ReportStatus(answer);
}
