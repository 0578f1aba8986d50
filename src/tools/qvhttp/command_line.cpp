#include "command_line.h"

#include <CLI/CLI.hpp>

#include "failure.h"

namespace {

constexpr const char* kVersion = "12.0.3024";
constexpr unsigned int kMaxTimeoutSeconds = 3600;
constexpr unsigned int kMaxRedirects = 100;
constexpr unsigned int kMaxJobs = 32;

constexpr const char* kFooter =
    "\nExit codes:\n"
    "   0  success\n"
    "   2  wrong command line\n"
    "   3  could not connect (unknown host, refused, unreachable, certificate)\n"
    "   4  time-out\n"
    "   5  other failure (broken or short response, local file)\n"
    "  22  the server answered with status 4xx\n"
    "  23  the server redirected, and the redirect was not followed\n"
    "  25  the server answered with status 5xx\n"
    " 130  interrupted (Ctrl-C)\n";

constexpr const char* kTextOrFile = "TEXT|@FILE";

void AddRedirectOptions(CLI::App& command, CommandLine& line) {
  auto* follow = command.add_flag("--follow", line.follow, "Follow redirects");
  command.add_option("--max-redirects", line.max_redirects, "Most redirects to follow")
      ->type_name("COUNT")
      ->check(CLI::Range(1u, kMaxRedirects))
      ->needs(follow)
      ->capture_default_str();
}

void AddRequestOptions(CLI::App& command, CommandLine& line) {
  command.add_option("-H,--header", line.headers, "Send the header \"Name: value\" (repeatable)")
      ->type_name("HEADER")
      ->allow_extra_args(false);
  command.add_option("--cookie", line.cookies, "Send the cookie NAME=VALUE (repeatable)")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  auto* user = command.add_option_function<std::string>(
      "-u,--user", [&line](const std::string& value) { line.user = value; },
      "Basic credentials, user:password");
  user->type_name("USER");
  command.add_option("--bearer", line.bearer_token, "Bearer token")
      ->type_name("TOKEN")
      ->excludes(user);
  AddRedirectOptions(command, line);
}

void AddTlsOptions(CLI::App& command, CommandLine& line) {
  constexpr const char* kGroup = "Secure connections";
  auto* certificate = command.add_option("--cert", line.certificate,
                                         "The client's certificate and key, in PEM or PKCS #12");
  certificate->type_name("FILE[:PASSWORD]")->group(kGroup);
  command
      .add_option("--cert-name", line.certificate_name,
                  "The client's certificate, by its name in the user's certificate store")
      ->type_name("NAME")
      ->excludes(certificate)
      ->group(kGroup);
  command.add_flag("--tls1.2", line.tls12, "Offer TLS 1.2 (alone, or with --tls1.3)")
      ->group(kGroup);
  command.add_flag("--tls1.3", line.tls13, "Offer TLS 1.3 (alone, or with --tls1.2)")
      ->group(kGroup);
  command
      .add_option("--sni", line.server_name,
                  "The name that the server is asked for, and that its certificate must have, "
                  "instead of the URL's host")
      ->type_name("NAME")
      ->group(kGroup);
  command
      .add_flag("--insecure", line.insecure,
                "Talk to a server whose certificate is not valid: it may be anybody")
      ->group(kGroup);
}

void AddWaitingOptions(CLI::App& command, CommandLine& line) {
  command
      .add_option("--timeout", line.timeout_seconds,
                  "Longest time for connecting and for each wait, in seconds")
      ->type_name("SECONDS")
      ->check(CLI::Range(1u, kMaxTimeoutSeconds))
      ->capture_default_str();
  command.add_option("--trace", line.trace_file, "Append all that is sent and received to FILE")
      ->type_name("FILE");
  AddTlsOptions(command, line);
}

void AddConnectionOptions(CLI::App& command, CommandLine& line) {
  command.add_flag("--http1.0", line.http10, "Speak HTTP/1.0");
  command.add_flag("-v,--verbose", line.verbose, "Show request and response headers on stderr");
  AddWaitingOptions(command, line);
}

CLI::App* AddNetworkCommand(CLI::App& app, const std::string& name, const std::string& text,
                            CommandLine& line) {
  CLI::App* command = app.add_subcommand(name, text);
  command->final_callback([&line, name] { line.command = name; });
  if (name == "request") {
    command->add_option("METHOD", line.method, "GET, POST, PUT, PATCH, OPTIONS…")->required();
  }
  command->add_option("URL", line.url, "http://host[:port]/path[?query]")->required();
  AddRequestOptions(*command, line);
  AddConnectionOptions(*command, line);
  if (name != "head") {
    command
        ->add_option("-o,--output", line.output,
                     "Write the body of a successful response to FILE, whole or not at all")
        ->type_name("FILE");
  }
  return command;
}

CLI::Option* AddTextOption(CLI::App& command, const std::string& name,
                           std::optional<std::string>& target, const std::string& text) {
  auto* option = command.add_option_function<std::string>(
      name, [&target](const std::string& value) { target = value; }, text);
  return option->type_name(kTextOrFile);
}

// The body of a request: one of these at most.
void AddBodyOptions(CLI::App& command, CommandLine& line, bool with_files) {
  auto* data = AddTextOption(command, "--data", line.data,
                             "The body, byte for byte: a text, @FILE, or @- for standard input");
  auto* json = AddTextOption(command, "--json", line.json, "As --data, typed application/json");
  auto* xml = AddTextOption(command, "--xml", line.xml, "As --data, typed application/xml");
  json->excludes(data);
  xml->excludes(data)->excludes(json);
  if (!with_files) return;
  command
      .add_option("--file", line.form_files,
                  "Send a file as a field of a multipart form, named \"file\" unless a name is "
                  "given (repeatable)")
      ->type_name("[NAME=]PATH")
      ->allow_extra_args(false)
      ->excludes(data)
      ->excludes(json)
      ->excludes(xml);
}

void AddTransferCommands(CLI::App& app, CommandLine& line) {
  CLI::App* get = AddNetworkCommand(app, "get", "Fetch a resource", line);
  auto* compressed =
      get->add_flag("--compressed", line.compressed, "Ask for a compressed body and decode it");
  get->add_flag("--resume", line.resume, "Go on with a download to FILE that was cut off")
      ->needs(get->get_option("--output"))
      ->excludes(compressed);
  AddNetworkCommand(app, "head", "Print status and headers", line);
  CLI::App* put = AddNetworkCommand(app, "put", "Store a file as a resource", line);
  put->add_option("FILE", line.upload_file, "The file to send; \"-\" or none: standard input");
  CLI::App* post = AddNetworkCommand(app, "post", "Send data to a resource", line);
  AddBodyOptions(*post, line, true);
  CLI::App* patch = AddNetworkCommand(app, "patch", "Change a part of a resource", line);
  AddBodyOptions(*patch, line, false);
  AddNetworkCommand(app, "delete", "Delete a resource", line);
  CLI::App* request = AddNetworkCommand(app, "request", "Send any request", line);
  AddBodyOptions(*request, line, false);
}

void AddCollectionCommands(CLI::App& app, CommandLine& line) {
  CLI::App* propfind =
      AddNetworkCommand(app, "propfind", "Print the properties of a resource (WebDAV)", line);
  propfind->add_option("--depth", line.depth, "How deep to look into a collection")
      ->type_name("0|1|infinity")
      ->check(CLI::IsMember({"0", "1", "infinity"}))
      ->capture_default_str();
  AddTextOption(*propfind, "--xml", line.xml, "Which properties; all of them without it");
  AddNetworkCommand(app, "mkcol", "Create a collection (WebDAV)", line);
  for (const char* name : {"copy", "move"}) {
    CLI::App* command = AddNetworkCommand(
        app, name,
        std::string(name) == "copy" ? "Copy a resource (WebDAV)" : "Move a resource (WebDAV)",
        line);
    command->add_option("DEST", line.destination, "A URL, or a path on the same server")
        ->required();
    auto* overwrite = command->add_flag_callback(
        "--overwrite", [&line] { line.overwrite = "T"; },
        "Replace what is there, also where the server would not");
    command
        ->add_flag_callback(
            "--no-overwrite", [&line] { line.overwrite = "F"; }, "Fail when DEST exists")
        ->excludes(overwrite);
  }
}

void AddFormCommand(CLI::App& app, CommandLine& line) {
  CLI::App* form = AddNetworkCommand(app, "form", "Fill in a form and submit it", line);
  form->add_option("FIELD", line.form_fields,
                   "name=value, name=@FILE to send a file, or name=@@text for a value that begins "
                   "with \"@\"")
      ->required();
  form->add_option("--method", line.form_method, "How to submit it")
      ->type_name("GET|POST")
      ->check(CLI::IsMember({"GET", "POST"}, CLI::ignore_case))
      ->capture_default_str();
  form->add_flag("--multipart", line.multipart,
                 "As multipart/form-data with POST, as it is always done with files");
}

void AddCertificateCommand(CLI::App& app, CommandLine& line) {
  CLI::App* command =
      app.add_subcommand("cert", "Tell about a secure connection and the server's certificate");
  command->final_callback([&line] { line.command = "cert"; });
  command->add_option("URL", line.url, "https://host[:port]/")->required();
  AddWaitingOptions(*command, line);
}

void AddManyFilesOptions(CLI::App& command, CommandLine& line) {
  command.add_option("-d,--directory", line.folder, "Where the files go; made where it is missing")
      ->type_name("FOLDER")
      ->capture_default_str();
  AddRedirectOptions(command, line);
  AddWaitingOptions(command, line);
}

void AddManyFilesCommands(CLI::App& app, CommandLine& line) {
  CLI::App* download = app.add_subcommand("download", "Fetch many files, several at a time");
  download->final_callback([&line] { line.command = "download"; });
  download->add_option("URL", line.urls, "http://host[:port]/path[?query]")->required();
  download->add_option("-j,--jobs", line.jobs, "How many at a time")
      ->type_name("N")
      ->check(CLI::Range(1u, kMaxJobs))
      ->capture_default_str();
  AddManyFilesOptions(*download, line);
  CLI::App* queue = app.add_subcommand(
      "queue", "Fetch the files of a list, one after the other, and go on after an interruption");
  queue->final_callback([&line] { line.command = "queue"; });
  queue
      ->add_option("LISTFILE", line.list_file,
                   "A URL a line, and behind it a name for the file, if it is to have another; "
                   "\"#\" begins a comment")
      ->required();
  AddManyFilesOptions(*queue, line);
}

void AddUrlCommands(CLI::App& app, CommandLine& line) {
  CLI::App* url = app.add_subcommand("url", "Work on a URL, without network");
  url->require_subcommand(1);
  CLI::App* parse = url->add_subcommand("parse", "Print the parts of a URL");
  parse->add_option("URL", line.url)->required();
  parse->final_callback([&line] { line.command = "url parse"; });
  CLI::App* normalize = url->add_subcommand("normalize", "Print the normalized form of a URL");
  normalize->add_option("URL", line.url)->required();
  normalize->final_callback([&line] { line.command = "url normalize"; });
}

}  // namespace

std::optional<CommandLine> ReadCommandLine(int argc, const char* const* argv) {
  CommandLine line;
  CLI::App app("qvhttp: a command-line HTTP client", "qvhttp");
  app.set_version_flag("--version", kVersion);
  app.footer(kFooter);
  app.require_subcommand(1);
  AddTransferCommands(app, line);
  AddFormCommand(app, line);
  AddManyFilesCommands(app, line);
  AddCollectionCommands(app, line);
  AddCertificateCommand(app, line);
  AddUrlCommands(app, line);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {  // --help, --version
    app.exit(success);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw Failure(ExitCode::kUsage,
                  std::string(error.what()) + "\nRun with --help for more information.");
  }
  return line;
}
