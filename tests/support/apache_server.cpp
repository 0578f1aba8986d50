#include "support/apache_server.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "support/loopback.h"
#include "support/wait_until.h"

namespace test {
namespace {

// Apache does not serve as root; the user "nobody" has this number everywhere.
constexpr uid_t kNobody = 65534;

std::string FirstThatExists(std::initializer_list<const char*> paths, const char* what) {
  for (const char* path : paths) {
    if (std::filesystem::exists(path)) return path;
  }
  throw std::runtime_error(std::string(what) + " is not installed");
}

std::string FindApache() {
  return FirstThatExists({"/usr/sbin/apache2", "/usr/sbin/httpd", "/usr/bin/httpd"}, "Apache");
}

std::string FindModules() {
  return FirstThatExists({"/usr/lib/apache2/modules", "/usr/lib64/httpd/modules",
                          "/usr/lib/httpd/modules", "/usr/libexec/httpd"},
                         "mod_dav of Apache");
}

// Loads what is not built into the program.
std::string LoadModules() {
  const std::string folder = FindModules();
  std::string text;
  for (const char* module : {"mpm_event", "unixd", "log_config", "logio", "authz_core", "mime",
                             "alias", "env", "setenvif", "filter", "deflate", "dav", "dav_fs"}) {
    const std::string file = folder + "/mod_" + module + ".so";
    if (!std::filesystem::exists(file)) continue;
    text += std::string("<IfModule !") + module + "_module>\n  LoadModule " + module + "_module " +
            file + "\n</IfModule>\n";
  }
  return text;
}

std::string Configuration(const TempDir& folder, std::uint16_t port) {
  const std::string home = folder.path().string();
  const std::string www = home + "/www/";
  std::ostringstream text;
  text << LoadModules() << "ServerRoot " << home
       << "\nServerName localhost\nListen 127.0.0.1:" << port << "\nPidFile " << home
       << "/apache.pid\nDefaultRuntimeDir " << home << "\nErrorLog " << home << "/error.log\n"
       << "LogFormat \"%{remote}p %k %>s %r\" serial\nCustomLog " << home << "/access.log serial\n"
       << "TypesConfig /dev/null\nAddType text/plain .txt\nAddType text/html .html\n"
       << "ThreadsPerChild 8\nMaxRequestWorkers 8\nServerLimit 1\nTimeout 60\n"
       << "KeepAlive On\nKeepAliveTimeout 60\nMaxKeepAliveRequests 0\n"
       << "DavLockDB " << home << "/locks\nDocumentRoot " << www << "\n"
       << "Alias /gzip/ " << www << "\nAlias /close/ " << www << "\nAlias /dav " << home
       << "/dav\n<Location /gzip/>\n  SetOutputFilter DEFLATE\n</Location>\n"
       << "SetEnvIf Request_URI ^/close/ nokeepalive\n"
       << "<Location /dav>\n  Dav On\n  DavDepthInfinity On\n</Location>\n";
  return text.str();
}

// The child's side of starting a program: nothing but system calls.
[[noreturn]] void RunChild(const char* program, char* const* arguments, const char* log) {
  if (geteuid() == 0 &&
      (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
    _exit(126);
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a crashed test leaves no server behind
  const int output = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (output >= 0) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
  }
  execv(program, arguments);
  _exit(127);
}

void HandOver(const std::filesystem::path& path) {
  if (geteuid() == 0 && chown(path.c_str(), kNobody, kNobody) != 0) {
    throw std::system_error(errno, std::generic_category(), "chown");
  }
}

}  // namespace

ApacheServer::ApacheServer() {
  HandOver(folder_.path());
  for (const char* name : {"www", "dav"}) {
    std::filesystem::create_directory(folder_.path() / name);
    HandOver(folder_.path() / name);
  }
  constexpr int kTries = 5;  // the port may be taken between finding it and using it
  for (int i = 0; i < kTries; ++i) {
    if (Start()) return;
  }
  throw std::runtime_error("Apache does not start: " + folder_.Read("error.log"));
}

ApacheServer::~ApacheServer() { Stop(); }

bool ApacheServer::Start() {
  port_ = FreePort();
  std::string program = FindApache();
  std::string home = folder_.path().string();
  std::string configuration = folder_.Write("apache.conf", Configuration(folder_, port_));
  const std::string log = folder_.file("error.log");
  const std::string pid_file = folder_.file("apache.pid");
  std::filesystem::remove(pid_file);
  // One process in the foreground, which does everything with its threads.
  std::array<std::string, 5> options{"-X", "-d", home, "-f", configuration};
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

// Apache writes its process id when its sockets listen already.
bool ApacheServer::HasStarted(const std::string& pid_file) {
  if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
    pid_ = -1;
    return false;
  }
  return std::filesystem::exists(pid_file) && ReadFile(pid_file) == std::to_string(pid_) + "\n";
}

void ApacheServer::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);  // it has nothing to save
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

std::string ApacheServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_).append(path);
}

void ApacheServer::AddFile(std::string_view name, std::string_view content) const {
  WriteFile(folder_.path() / "www" / name, content);
}

std::string ApacheServer::ReadDav(std::string_view name) const {
  return ReadFile(folder_.path() / "dav" / name);
}

bool ApacheServer::HasDav(std::string_view name) const {
  return std::filesystem::exists(folder_.path() / "dav" / name);
}

std::vector<ApacheAccess> ApacheServer::AccessLog() const {
  std::vector<ApacheAccess> log;
  std::istringstream text(folder_.Read("access.log"));
  for (std::string line; std::getline(text, line);) {
    if (text.eof()) break;  // the line is being written
    std::istringstream fields(line);
    ApacheAccess entry;
    fields >> entry.client_port >> entry.earlier >> entry.status >> std::ws;
    std::getline(fields, entry.request_line);
    log.push_back(std::move(entry));
  }
  return log;
}

std::vector<ApacheAccess> ApacheServer::WaitForAccesses(std::size_t count) const {
  std::vector<ApacheAccess> log;
  WaitUntil([&] {
    log = AccessLog();
    return log.size() >= count;
  });
  return log;
}

}  // namespace test
