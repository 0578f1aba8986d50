#ifndef TOOLS_QVHTTP_OPTIONS_H_
#define TOOLS_QVHTTP_OPTIONS_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

enum class Action { kRequest, kHead, kParseUrl, kNormalizeUrl };

// What the command line asks for.
struct Options {
  Action action = Action::kRequest;
  std::string method;
  std::string url;

  std::vector<std::pair<std::string, std::string>> headers;  // -H, name and value
  std::optional<std::pair<std::string, std::string>> user;   // -u, user name and password
  std::string bearer_token;
  std::optional<std::string> data;  // the body itself; @FILE has been read
  std::string output;               // empty: standard output
  unsigned int timeout_seconds = 20;
  bool http10 = false;
  bool verbose = false;
};

// Reads the command line. Nothing when that was all there is to do (--help, --version). Throws
// Failure for a wrong command line.
std::optional<Options> ParseOptions(int argc, const char* const* argv);

#endif  // TOOLS_QVHTTP_OPTIONS_H_
