#include <iostream>

#include "commands.h"
#include "failure.h"
#include "session.h"
#include "status.h"

ExitCode RunHead(const Options& options) {
  Session session(options);
  const int status = session.Send();
  std::cout << "HTTP " << status << ' ' << session.ReasonPhrase() << '\n';
  for (const auto& [name, value] : session.Headers(HTTP_HEADERS_RESPONSE)) {
    std::cout << name << ": " << value << '\n';
  }
  if (!std::cout.flush()) throw Failure(ExitCode::kFailure, "cannot write the output");
  return ReportStatus(session, status);
}
