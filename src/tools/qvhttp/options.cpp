#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>

#include "failure.h"

namespace {

constexpr const char* kVersion = "12.0.3024";
constexpr unsigned int kMaxTimeoutSeconds = 3600;

constexpr const char* kFooter =
    "\nExit codes:\n"
    "   0  success\n"
    "   2  wrong command line\n"
    "   3  could not connect (unknown host, refused, unreachable)\n"
    "   4  time-out\n"
    "   5  other failure (broken or short response, local file)\n"
    "  22  the server answered with status 4xx\n"
    "  23  the server redirected; redirects are not followed\n"
    "  25  the server answered with status 5xx\n";

// What CLI11 stores before it is checked and taken apart.
struct RawOptions {
  std::vector<std::string> headers;
  std::string user;
  std::string data;
};

// The methods whose parameters the library sends as a body; for all others they would become part
// of the query.
constexpr std::array<std::string_view, 7> kBodyMethods = {
    "POST", "PUT", "PATCH", "PROPFIND", "BPROPFIND", "PROPPATCH", "BPROPPATCH"};

[[noreturn]] void WrongUsage(const std::string& message) {
  throw Failure(ExitCode::kUsage, message);
}

// RFC 9110 section 5.6.2.
bool IsToken(std::string_view text) {
  constexpr std::string_view kTokenMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           kTokenMarks.find(c) != std::string_view::npos;
  });
}

std::string_view TrimBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::pair<std::string, std::string> SplitHeader(const std::string& header) {
  const auto colon = header.find(':');
  const std::string_view name = std::string_view(header).substr(0, colon);
  if (colon == std::string::npos || !IsToken(name)) {
    WrongUsage("-H \"" + header + "\": write a header as \"Name: value\"");
  }
  const std::string_view value = TrimBlanks(std::string_view(header).substr(colon + 1));
  if (value.empty()) WrongUsage("-H \"" + header + "\": the header has no value");
  return {std::string(name), std::string(value)};
}

std::pair<std::string, std::string> SplitUser(const std::string& user) {
  const auto colon = user.find(':');
  if (colon == std::string::npos) WrongUsage("-u: write the credentials as user:password");
  return {user.substr(0, colon), user.substr(colon + 1)};
}

// The text of --data: itself, or the content of the file that "@FILE" names ("@-": standard input).
std::string ReadData(const std::string& data) {
  if (data.empty() || data.front() != '@') return data;
  const std::string name = data.substr(1);
  if (name == "-") {
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
  }
  std::ifstream file(name, std::ios::binary);
  std::string content;
  if (file) content.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  if (!file.is_open() || file.bad()) {
    throw Failure(ExitCode::kFailure, "cannot read " + name);
  }
  return content;
}

void CheckRequest(const Options& options) {
  const std::string& method = options.method;
  if (!IsToken(method)) WrongUsage(method + ": not a method");
  const bool has_body =
      std::find(kBodyMethods.begin(), kBodyMethods.end(), method) != kBodyMethods.end();
  if (options.data && !has_body) {
    WrongUsage("--data: a request with " + method + " carries no body");
  }
  if (method == "PUT" && (!options.data || options.data->empty())) {
    WrongUsage("PUT: give the content with --data");
  }
}

void AddNetworkOptions(CLI::App& command, Options& options, RawOptions& raw) {
  command.add_option("URL", options.url, "http://host[:port]/path[?query]")->required();
  command.add_option("-H,--header", raw.headers, "Send the header \"Name: value\" (repeatable)")
      ->type_name("HEADER")
      ->allow_extra_args(false);
  auto* user = command.add_option("-u,--user", raw.user, "Basic credentials, user:password");
  user->type_name("USER");
  command.add_option("--bearer", options.bearer_token, "Bearer token")
      ->type_name("TOKEN")
      ->excludes(user);
  command
      .add_option("--timeout", options.timeout_seconds,
                  "Longest time for connecting and for each wait, in seconds")
      ->type_name("SECONDS")
      ->check(CLI::Range(1u, kMaxTimeoutSeconds))
      ->capture_default_str();
  command.add_flag("--http1.0", options.http10, "Speak HTTP/1.0");
  command.add_flag("-v,--verbose", options.verbose, "Show request and response headers on stderr");
}

void AddOutputOption(CLI::App& command, Options& options) {
  command
      .add_option("-o,--output", options.output,
                  "Write the body of a successful response to FILE, whole or not at all")
      ->type_name("FILE");
}

CLI::App* AddRequestCommand(CLI::App& app, const std::string& name, const std::string& text,
                            Options& options, RawOptions& raw) {
  CLI::App* command = app.add_subcommand(name, text);
  if (name == "request") {
    command->add_option("METHOD", options.method, "GET, POST, PUT, PATCH, OPTIONS…")->required();
  }
  AddNetworkOptions(*command, options, raw);
  return command;
}

void AddUrlCommands(CLI::App& app, Options& options) {
  CLI::App* url = app.add_subcommand("url", "Work on a URL, without network");
  url->require_subcommand(1);
  CLI::App* parse = url->add_subcommand("parse", "Print the parts of a URL");
  parse->add_option("URL", options.url)->required();
  parse->final_callback([&options] { options.action = Action::kParseUrl; });
  CLI::App* normalize = url->add_subcommand("normalize", "Print the normalized form of a URL");
  normalize->add_option("URL", options.url)->required();
  normalize->final_callback([&options] { options.action = Action::kNormalizeUrl; });
}

}  // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv) {
  Options options;
  RawOptions raw;
  CLI::App app("qvhttp: a command-line HTTP client", "qvhttp");
  app.set_version_flag("--version", kVersion);
  app.footer(kFooter);
  app.require_subcommand(1);

  CLI::App* get = AddRequestCommand(app, "get", "Fetch a resource", options, raw);
  AddOutputOption(*get, options);
  CLI::App* head = AddRequestCommand(app, "head", "Print status and headers", options, raw);
  CLI::App* del = AddRequestCommand(app, "delete", "Delete a resource", options, raw);
  CLI::App* request = AddRequestCommand(app, "request", "Send any request", options, raw);
  AddOutputOption(*request, options);
  const CLI::Option* data =
      request->add_option("--data", raw.data, "The body: a text, @FILE, or @- for standard input")
          ->type_name("TEXT");
  AddUrlCommands(app, options);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {  // --help, --version
    app.exit(success);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    WrongUsage(std::string(error.what()) + "\nRun with --help for more information.");
  }
  if (*get) options.method = "GET";
  if (*head) {
    options.method = "HEAD";
    options.action = Action::kHead;
  }
  if (*del) options.method = "DELETE";
  if (options.action == Action::kParseUrl || options.action == Action::kNormalizeUrl) {
    return options;
  }
  for (const std::string& header : raw.headers) options.headers.push_back(SplitHeader(header));
  if (!raw.user.empty()) options.user = SplitUser(raw.user);
  std::transform(options.method.begin(), options.method.end(), options.method.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  if (*data) options.data = ReadData(raw.data);
  CheckRequest(options);
  return options;
}
