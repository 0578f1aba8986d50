#include "support/form_server.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <sstream>
#include <stdexcept>

#include "support/wait_until.h"

namespace test {
namespace {

// Writes its port to the file that its argument names. An answer is a line for each thing seen:
// a keyword and percent-encoded texts, "-" for none.
constexpr const char* kProgram = R"(
import email.parser, email.policy, http.server, os, sys, urllib.parse

def quoted(text):
    if text is None:
        return "-"
    data = text if isinstance(text, bytes) else text.encode("utf-8", "surrogateescape")
    return "=" + urllib.parse.quote_from_bytes(data, safe="")

def pairs(text):
    return [(name, value, None) for name, value in
            urllib.parse.parse_qsl(text, keep_blank_values=True, errors="surrogateescape")]

def parts(content_type, body):
    head = ("Content-Type: %s\r\n\r\n" % content_type).encode()
    document = email.parser.BytesParser(policy=email.policy.HTTP).parsebytes(head + body)
    if not document.is_multipart() or document.defects:
        raise ValueError("no multipart document: %r" % document.defects)
    for part in document.iter_parts():
        disposition = part["Content-Disposition"]
        if disposition.content_disposition != "form-data":
            raise ValueError(str(disposition))
        yield (disposition.params["name"], part.get_payload(decode=True), part.get_filename())

class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def answer(self):
        url = urllib.parse.urlsplit(self.path)
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        content_type = self.headers.get("Content-Type", "")
        media_type = content_type.split(";")[0]
        if media_type == "multipart/form-data":
            fields = parts(content_type, body)
        elif self.command == "POST":
            fields = pairs(body.decode("ascii"))
        else:
            fields = pairs(url.query)
        lines = ["request %s %s %s" % (self.command, quoted(url.path), quoted(media_type))]
        lines += ["field %s %s %s" % tuple(map(quoted, field)) for field in fields]
        text = "\n".join(lines).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/octet-stream")
        self.send_header("Content-Length", str(len(text)))
        self.end_headers()
        self.wfile.write(text)

    do_GET = do_POST = answer

server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
with open(sys.argv[1] + ".new", "w") as file:
    file.write(str(server.server_port))
os.rename(sys.argv[1] + ".new", sys.argv[1])
server.serve_forever()
)";

// The child's side of starting a program: nothing but system calls.
[[noreturn]] void RunChild(char* const* arguments, const char* log) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a crashed test leaves no server behind
  const int output = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (output >= 0) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
  }
  execvp(arguments[0], arguments);
  _exit(127);
}

// A text of an answer; nothing for "-".
std::optional<std::string> Unquoted(std::string_view text) {
  constexpr int kHexadecimal = 16;
  if (!text.starts_with('=')) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '%') {
      bytes +=
          static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, kHexadecimal));
      i += 2;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}

}  // namespace

FormServer::FormServer() {
  std::string program = folder_.Write("server.py", kProgram);
  std::string port_file = folder_.file("port");
  const std::string log = folder_.file("log");
  std::string python = "python3";
  std::string no_cache = "-B";
  std::array<char*, 5> arguments{python.data(), no_cache.data(), program.data(), port_file.data(),
                                 nullptr};
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) RunChild(arguments.data(), log.c_str());
  bool ended = false;
  WaitUntil([&] {
    ended = waitpid(pid_, nullptr, WNOHANG) == pid_;
    return ended || std::filesystem::exists(port_file);
  });
  if (ended) pid_ = -1;
  const std::string port = ReadFile(port_file);
  if (port.empty()) {
    Stop();
    throw std::runtime_error("the form server does not start: " + ReadFile(log));
  }
  port_ = static_cast<std::uint16_t>(std::stoi(port));
}

FormServer::~FormServer() { Stop(); }

void FormServer::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);  // it has nothing to save
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

std::string FormServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_).append(path);
}

SeenForm FormServer::ReadAnswer(std::string_view body) {
  SeenForm form;
  std::istringstream lines{std::string(body)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::array<std::string, 4> word;
    for (std::string& text : word) words >> text;
    if (word[0] == "request") {
      form.method = word[1];
      form.path = Unquoted(word[2]).value_or("");
      form.type = Unquoted(word[3]).value_or("");
    } else {
      form.fields.push_back(
          {Unquoted(word[1]).value_or(""), Unquoted(word[2]).value_or(""), Unquoted(word[3])});
    }
  }
  return form;
}

}  // namespace test
