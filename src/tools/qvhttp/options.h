#ifndef TOOLS_QVHTTP_OPTIONS_H_
#define TOOLS_QVHTTP_OPTIONS_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "fields.h"
#include "form_data.h"
#include "request_body.h"
#include "tls_options.h"

enum class Action {
  kRequest,
  kGet,
  kHead,
  kCertificate,
  kDownloads,
  kQueue,
  kParseUrl,
  kNormalizeUrl
};

// What the command line asks for.
struct Options {
  Action action = Action::kRequest;
  std::string method;
  std::string url;

  HeaderList headers;                                       // -H, and those of the command
  HeaderList cookies;                                       // --cookie, name and value
  std::optional<std::pair<std::string, std::string>> user;  // -u, user name and password
  std::string bearer_token;
  std::optional<RequestBody> body;
  std::optional<FormData> form;

  std::vector<std::string> urls;  // of downloads
  std::string list_file;          // of a queue
  std::string folder;             // where downloads go
  unsigned int jobs = 1;          // downloads at a time

  std::string output;  // empty: standard output
  bool resume = false;
  bool compressed = false;
  bool follow = false;
  unsigned int max_redirects = 10;
  std::string trace_file;  // empty: no trace
  unsigned int timeout_seconds = 20;
  TlsOptions tls;
  bool http10 = false;
  bool verbose = false;
};

// Reads the command line, and the files of a body that it names. Nothing when that was all there is
// to do (--help, --version). Throws Failure for a wrong command line.
std::optional<Options> ParseOptions(int argc, const char* const* argv);

#endif  // TOOLS_QVHTTP_OPTIONS_H_
