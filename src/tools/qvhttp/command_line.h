#ifndef TOOLS_QVHTTP_COMMAND_LINE_H_
#define TOOLS_QVHTTP_COMMAND_LINE_H_

#include <optional>
#include <string>
#include <vector>

// The words of the command line, by the option that they belong to, before they are checked and
// taken apart.
struct CommandLine {
  std::string command;  // "get", "post", … "url parse"
  std::string method;   // of "request"
  std::string url;
  std::vector<std::string> urls;  // of "download"
  std::string list_file;          // of "queue"
  std::string folder = ".";       // of both
  unsigned int jobs = 4;          // of "download"

  std::vector<std::string> headers;
  std::vector<std::string> cookies;
  std::optional<std::string> user;
  std::string bearer_token;

  std::optional<std::string> data;
  std::optional<std::string> json;
  std::optional<std::string> xml;
  std::vector<std::string> form_files;   // --file of "post"
  std::vector<std::string> form_fields;  // FIELD of "form"
  std::string form_method = "POST";
  bool multipart = false;
  std::string upload_file = "-";  // FILE of "put"
  std::string destination;        // of "copy" and "move"
  std::string overwrite;          // value of the field "Overwrite"; empty: not asked for
  std::string depth = "1";        // of "propfind"

  std::string output;
  bool resume = false;
  bool compressed = false;
  bool follow = false;
  unsigned int max_redirects = 10;
  std::string trace_file;
  unsigned int timeout_seconds = 20;
  std::optional<std::string> certificate;
  std::string certificate_name;
  std::string server_name;
  bool tls12 = false;
  bool tls13 = false;
  bool insecure = false;
  bool http10 = false;
  bool verbose = false;
};

// Nothing after --help and --version, which have been answered. Throws Failure for a command line
// that does not follow the grammar of --help.
std::optional<CommandLine> ReadCommandLine(int argc, const char* const* argv);

#endif  // TOOLS_QVHTTP_COMMAND_LINE_H_
