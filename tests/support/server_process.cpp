#include "support/server_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <system_error>

#include "support/loopback.h"
#include "support/unique_fd.h"
#include "support/wait_until.h"

namespace test {
namespace {

std::string FindProgram(const std::string& name) {
  const std::string beside = "/usr/sbin/" + name;
  return access(beside.c_str(), X_OK) == 0 ? beside : name;
}

bool Accepts(std::uint16_t port) {
  try {
    return ConnectLoopback(port).valid();
  } catch (const std::system_error&) {
    return false;
  }
}

// The child's side of starting a program: nothing but system calls.
[[noreturn]] void RunChild(char* const* arguments) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // a crashed test leaves no server behind
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, fd);
  execvp(arguments[0], arguments);
  _exit(127);
}

}  // namespace

ServerProcess::ServerProcess(const Command& command) {
  constexpr int kTries = 5;  // the port may be taken between finding it and using it
  for (int i = 0; i < kTries; ++i) {
    port_ = FreePort();
    Start(command(port_));
    bool ended = false;
    if (WaitUntil([&] { return (ended = HasEnded()) || Accepts(port_); }) && !ended) return;
    Stop();
  }
  throw std::runtime_error(command(0).front() + " does not start");
}

void ServerProcess::Start(std::vector<std::string> words) {
  words.front() = FindProgram(words.front());
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) RunChild(arguments.data());
}

bool ServerProcess::HasEnded() {
  if (pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == 0) return false;
  pid_ = -1;
  return true;
}

void ServerProcess::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

}  // namespace test
