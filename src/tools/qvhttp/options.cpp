#include "options.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "command_line.h"
#include "failure.h"
#include "reference.h"
#include "url_parts.h"

namespace {

// The methods whose parameters the library sends as a body; for all others they would become part
// of the query.
constexpr std::array<std::string_view, 7> kBodyMethods = {
    "POST", "PUT", "PATCH", "PROPFIND", "BPROPFIND", "PROPPATCH", "BPROPPATCH"};

[[noreturn]] void WrongUsage(const std::string& message) {
  throw Failure(ExitCode::kUsage, message);
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

std::pair<std::string, std::string> SplitCookie(const std::string& cookie) {
  const auto equals = cookie.find('=');
  if (equals == std::string::npos || !IsToken(std::string_view(cookie).substr(0, equals))) {
    WrongUsage("--cookie \"" + cookie + "\": write a cookie as NAME=VALUE");
  }
  const std::string value = cookie.substr(equals + 1);
  // RFC 6265 section 4.1.1; more than its octets are sent by sites in use, these never.
  constexpr std::string_view kNeverInValues = ";\r\n";
  if (value.empty() || value.find_first_of(kNeverInValues) != std::string::npos) {
    WrongUsage("--cookie \"" + cookie + "\": the value is empty or has a character that ends it");
  }
  return {cookie.substr(0, equals), value};
}

std::pair<std::string, std::string> SplitUser(const std::string& user) {
  const auto colon = user.find(':');
  if (colon == std::string::npos) WrongUsage("-u: write the credentials as user:password");
  return {user.substr(0, colon), user.substr(colon + 1)};
}

std::string UpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

Action ActionOf(const std::string& command) {
  if (command == "get") return Action::kGet;
  if (command == "head") return Action::kHead;
  if (command == "cert") return Action::kCertificate;
  if (command == "download") return Action::kDownloads;
  if (command == "queue") return Action::kQueue;
  if (command == "url parse") return Action::kParseUrl;
  if (command == "url normalize") return Action::kNormalizeUrl;
  return Action::kRequest;
}

std::optional<RequestBody> BodyOf(const CommandLine& line) {
  if (line.command == "put") return FileBody(line.upload_file);
  if (line.data) return TextBody(*line.data, "");
  if (line.json) return TextBody(*line.json, "application/json");
  if (line.xml) return TextBody(*line.xml, "application/xml");
  if (!line.form_files.empty()) return FormBody(line.form_files);
  if (line.command == "post") return RequestBody{};
  return std::nullopt;
}

// The fields that carry the arguments of a WebDAV command (RFC 4918 section 10).
void AddCommandHeaders(const CommandLine& line, HeaderList& headers) {
  if (line.command == "propfind") headers.emplace_back("Depth", line.depth);
  if (line.destination.empty()) return;
  const UrlParts base = ParseRequestUrl(line.url);
  const UrlParts destination = ParseRequestUrl(ResolveReference(*base, line.destination));
  headers.emplace_back("Destination", UrlWithoutUser(*destination));
  if (!line.overwrite.empty()) headers.emplace_back("Overwrite", line.overwrite);
}

void CheckRequest(const Options& options) {
  const std::string& method = options.method;
  if (!IsToken(method)) WrongUsage(method + ": not a method");
  const bool may_have_body =
      std::find(kBodyMethods.begin(), kBodyMethods.end(), method) != kBodyMethods.end();
  if (options.body && !may_have_body) {
    WrongUsage("--data: a request with " + method + " carries no body");
  }
  if (!options.body && (method == "PUT" || method == "PATCH")) {
    WrongUsage(method + ": give the content with --data");
  }
  if (options.resume && FindField(options.headers, "Range")) {
    WrongUsage("--resume: the range is the client's to choose, without -H \"Range: …\"");
  }
}

std::string MethodOf(const CommandLine& line) {
  if (line.command == "form") return UpperCase(line.form_method);
  if (line.command == "download" || line.command == "queue" || line.command == "cert") return "GET";
  return UpperCase(line.command == "request" ? line.method : line.command);
}

TlsOptions TlsOptionsOf(const CommandLine& line) {
  TlsOptions tls;
  if (line.tls12) tls.protocols |= SECURITY_PROTOCOL_TLS12;
  if (line.tls13) tls.protocols |= SECURITY_PROTOCOL_TLS13;
  if (line.certificate) {
    tls.certificate = std::make_shared<const ClientCertificate>(*line.certificate);
  }
  tls.certificate_name = line.certificate_name;
  tls.server_name = line.server_name;
  tls.insecure = line.insecure;
  return tls;
}

void TakeManyFiles(const CommandLine& line, Options& options) {
  options.urls = line.urls;
  options.list_file = line.list_file;
  options.folder = line.folder;
  options.jobs = line.jobs;
}

}  // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv) {
  const std::optional<CommandLine> line = ReadCommandLine(argc, argv);
  if (!line) return std::nullopt;
  Options options;
  options.action = ActionOf(line->command);
  options.url = line->url;
  if (options.action == Action::kParseUrl || options.action == Action::kNormalizeUrl) {
    return options;
  }
  options.method = MethodOf(*line);
  AddCommandHeaders(*line, options.headers);
  for (const std::string& header : line->headers) options.headers.push_back(SplitHeader(header));
  for (const std::string& cookie : line->cookies) options.cookies.push_back(SplitCookie(cookie));
  if (line->user) options.user = SplitUser(*line->user);
  options.bearer_token = line->bearer_token;
  options.output = line->output;
  options.resume = line->resume;
  options.compressed = line->compressed;
  options.follow = line->follow;
  options.max_redirects = line->max_redirects;
  options.trace_file = line->trace_file;
  options.timeout_seconds = line->timeout_seconds;
  options.tls = TlsOptionsOf(*line);
  options.http10 = line->http10;
  options.verbose = line->verbose;
  options.body = BodyOf(*line);
  if (line->command == "form") {
    options.form = ReadForm(line->form_fields, options.method == "POST", line->multipart);
    if (options.form->is_multipart) options.method = "POST";
  }
  TakeManyFiles(*line, options);
  CheckRequest(options);
  return options;
}
