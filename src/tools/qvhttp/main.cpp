// qvhttp: the command-line client of the library. A command line is read into Options, and one of
// the commands carries it out; whatever goes wrong arrives here as a Failure.

#include <exception>
#include <iostream>

#include "commands.h"
#include "failure.h"
#include "options.h"

namespace {

ExitCode Run(int argc, const char* const* argv) {
  const std::optional<Options> options = ParseOptions(argc, argv);
  if (!options) return ExitCode::kSuccess;
  switch (options->action) {
    case Action::kRequest:
      return RunRequest(*options);
    case Action::kHead:
      return RunHead(*options);
    case Action::kParseUrl:
      return RunParseUrl(*options);
    case Action::kNormalizeUrl:
      return RunNormalizeUrl(*options);
  }
  return ExitCode::kUsage;
}

}  // namespace

int main(int argc, char** argv) {
  ExitCode code = ExitCode::kFailure;
  try {
    code = Run(argc, argv);
  } catch (const Failure& failure) {
    std::cerr << "qvhttp: " << failure.what() << '\n';
    code = failure.code();
  } catch (const std::exception& error) {
    std::cerr << "qvhttp: " << error.what() << '\n';
  }
  return static_cast<int>(code);
}
