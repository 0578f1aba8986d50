// qvhttp: the command-line client of the library. A command line is read into Options, and one of
// the commands carries it out; whatever goes wrong arrives here as a Failure.

#include <cstdlib>
#include <exception>
#include <iostream>

#include "commands.h"
#include "failure.h"
#include "interrupt.h"
#include "options.h"
#include "output.h"
#include "trace_log.h"

namespace {

ExitCode RunCommand(const Options& options) {
  switch (options.action) {
    case Action::kGet:
      return IsReplaceableFile(options.output) && !options.compressed ? RunDownload(options)
                                                                      : RunRequest(options);
    case Action::kRequest:
      return RunRequest(options);
    case Action::kHead:
      return RunHead(options);
    case Action::kCertificate:
      return RunCertificate(options);
    case Action::kDownloads:
      return RunDownloads(options);
    case Action::kQueue:
      return RunQueue(options);
    case Action::kParseUrl:
      return RunParseUrl(options);
    case Action::kNormalizeUrl:
      return RunNormalizeUrl(options);
  }
  return ExitCode::kUsage;
}

ExitCode Run(int argc, const char* const* argv) {
  const std::optional<Options> options = ParseOptions(argc, argv);
  if (!options) return ExitCode::kSuccess;
  const InterruptWatch watch;
  const TraceLog trace(options->trace_file);
  return RunCommand(*options);
}

}  // namespace

int main(int argc, char** argv) {
  ExitCode code = ExitCode::kFailure;
  std::string message;
  try {
    code = Run(argc, argv);
  } catch (const Failure& failure) {
    message = failure.what();
    code = failure.code();
  } catch (const std::exception& error) {
    message = error.what();
  }
  // Whatever failed because of it, what the user wants to hear of is the interruption.
  const bool interrupted = code != ExitCode::kSuccess && Interrupted();
  if (interrupted) {
    code = ExitCode::kInterrupted;
    message = "interrupted";
  }
  if (!message.empty()) std::cerr << "qvhttp: " << message << '\n';
  // A pipe that takes no more output must not hold up the end.
  if (interrupted) std::_Exit(static_cast<int>(code));
  return static_cast<int>(code);
}
