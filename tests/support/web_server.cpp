#include "support/web_server.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "support/loopback.h"

namespace test {
namespace {

constexpr const char* kEchoedHeaders[] = {
    "Host",          "User-Agent",   "Accept",         "Accept-Encoding", "Connection", "Cookie",
    "Authorization", "Content-Type", "Content-Length", "Referer",         "Range",      "X-Test"};

std::string FindNginx() {
  const char* path = std::getenv("PATH");
  std::istringstream folders(std::string(path == nullptr ? "" : path) + ":/usr/sbin");
  for (std::string folder; std::getline(folders, folder, ':');) {
    const std::string program = folder + "/nginx";
    if (access(program.c_str(), X_OK) == 0) return program;
  }
  throw std::runtime_error("nginx is not installed");
}

// The variable in which nginx keeps a request header.
std::string VariableOf(std::string_view header) {
  std::string name = "$http_";
  for (const char c : header) {
    name += c == '-' ? '_' : static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  }
  return name;
}

std::string EchoLocation() {
  std::string page = "Method: $request_method\nUri: $request_uri\nProtocol: $server_protocol\n";
  for (const char* header : kEchoedHeaders) {
    page.append(header).append(": ").append(VariableOf(header)).append("\n");
  }
  return "    location = /headers { default_type text/plain; return 200 \"" + page + "\"; }\n";
}

std::string RedirectLocations() {
  std::string text;
  for (const char* status : {"301", "302", "303", "307", "308"}) {
    text += std::string("    location ~ ^/redirect/") + status + "(/.*)$ { return " + status +
            " $1$is_args$args; }\n";
    text += std::string("    location ~ ^/relative/") + status +
            "(/.*)$ { absolute_redirect off; return " + status + " $1$is_args$args; }\n";
  }
  return text;
}

std::string StatusLocations() {
  std::string text;
  for (const char* status : {"204", "400", "401", "403", "404", "405", "408", "409", "410", "412",
                             "413", "415", "416", "429", "500", "501", "502", "503", "504"}) {
    text += std::string("    location = /status/") + status + " { return " + status + "; }\n";
  }
  return text;
}

std::string Configuration(const TempDir& folder, std::uint16_t port) {
  const std::string home = folder.path().string();
  const std::string files = "alias " + home + "/www/; ";
  std::ostringstream text;
  text << "daemon off;\nmaster_process off;\npid " << home << "/nginx.pid;\nerror_log " << home
       << "/error.log;\n";
  if (geteuid() == 0) text << "user root;\n";
  text << "events { worker_connections 256; }\nhttp {\n"
       << "  log_format serial '$connection $connection_requests $status $request';\n"
       << "  access_log " << home << "/access.log serial;\n";
  for (const char* use : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
    text << "  " << use << "_temp_path " << home << "/tmp_" << use << ";\n";
  }
  text << "  types { text/html html; text/plain txt; application/json json; image/png png; }\n"
       << "  default_type application/octet-stream;\n"
       << "  client_max_body_size 0;\n  keepalive_timeout 60s;\n  keepalive_requests 10000;\n"
       << "  server {\n    listen 127.0.0.1:" << port << ";\n    server_name localhost;\n"
       << "    root " << home
       << "/www;\n"
       // Server-side includes make the length unknown in advance.
       << "    location /chunked/ { " << files << "ssi on; ssi_types *; }\n"
       << "    location /untilclose/ { " << files
       << "ssi on; ssi_types *; chunked_transfer_encoding off; }\n"
       << "    location /gzip/ { " << files << "gzip on; gzip_types *; gzip_min_length 0; }\n"
       << "    location /slow/ { " << files << "limit_rate 32k; }\n"
       << "    location /close/ { " << files << "keepalive_timeout 0; }\n"
       << "    location /basic/ { " << files << "auth_basic \"test\"; auth_basic_user_file " << home
       << "/htpasswd; }\n"
       << "    location ~ ^/cookie/([^/]+)/([^/]+)$ { add_header Set-Cookie \"$1=$2; path=/\"; "
       << "return 200 \"\"; }\n"
       << "    location /dav/ { root " << home
       << "; dav_methods PUT DELETE MKCOL COPY MOVE; create_full_put_path on; }\n"
       << EchoLocation() << RedirectLocations() << StatusLocations() << "  }\n}\n";
  return text.str();
}

// The child's side of starting a program: nothing but system calls.
[[noreturn]] void RunChild(const char* program, char* const* arguments, const char* log) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a crashed test leaves no server behind
  const int output = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (output >= 0) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
  }
  execv(program, arguments);
  _exit(127);
}

}  // namespace

WebServer::WebServer() {
  WriteFile(folder_.path() / "htpasswd", std::string(kUser) + ":{PLAIN}" + kPassword + "\n");
  std::filesystem::create_directories(folder_.path() / "www");
  std::filesystem::create_directories(folder_.path() / "dav");
  constexpr int kTries = 5;  // the port may be taken between finding it and using it
  for (int i = 0; i < kTries; ++i) {
    if (Start()) return;
  }
  throw std::runtime_error("nginx does not start: " + folder_.Read("error.log"));
}

WebServer::~WebServer() { Stop(); }

bool WebServer::Start() {
  port_ = FreePort();
  std::string program = FindNginx();
  std::string home = folder_.path().string();
  std::string configuration = folder_.Write("nginx.conf", Configuration(folder_, port_));
  std::string log = folder_.file("error.log");
  const std::string pid_file = folder_.file("nginx.pid");
  std::filesystem::remove(pid_file);
  std::array<std::string, 6> options{"-p", home, "-c", configuration, "-e", log};
  std::vector<char*> arguments{program.data()};
  for (std::string& option : options) arguments.push_back(option.data());
  arguments.push_back(nullptr);

  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) RunChild(program.c_str(), arguments.data(), log.c_str());
  const bool started = WaitUntil([&] { return pid_ < 0 || HasStarted(pid_file); });
  if (started && pid_ > 0) return true;
  Stop();
  return false;
}

// nginx writes its process id when its sockets listen already. Unlike a connection attempt this
// cannot mistake another server on the port for it, and leaves the serial numbers alone.
bool WebServer::HasStarted(const std::string& pid_file) {
  if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
    pid_ = -1;
    return false;
  }
  return std::filesystem::exists(pid_file) && ReadFile(pid_file) == std::to_string(pid_) + "\n";
}

void WebServer::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);  // it has nothing to save
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

std::string WebServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_).append(path);
}

void WebServer::AddFile(std::string_view name, std::string_view content) const {
  WriteFile(folder_.path() / "www" / name, content);
}

std::string WebServer::ReadDav(std::string_view name) const {
  return ReadFile(folder_.path() / "dav" / name);
}

bool WebServer::HasDav(std::string_view name) const {
  return std::filesystem::exists(folder_.path() / "dav" / name);
}

std::vector<Access> WebServer::access_log() const {
  std::vector<Access> log;
  std::istringstream text(folder_.Read("access.log"));
  for (std::string line; std::getline(text, line);) {
    if (text.eof()) break;  // the line is being written
    std::istringstream fields(line);
    Access entry;
    fields >> entry.connection >> entry.request >> entry.status >> std::ws;
    std::getline(fields, entry.request_line);
    log.push_back(std::move(entry));
  }
  return log;
}

bool WebServer::WaitForAccesses(std::size_t count, std::chrono::milliseconds timeout) const {
  return WaitUntil([&] { return access_log().size() >= count; }, timeout);
}

std::string WebServer::HeadersPage(std::string_view page, std::string_view name) {
  std::istringstream lines{std::string(page)};
  const std::string start = std::string(name) + ": ";
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(start)) return line.substr(start.size());
  }
  return {};
}

}  // namespace test
