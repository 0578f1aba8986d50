// A server of another make: the one of the openssl command.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "platform/security/tls_client.h"
#include "support/temp_dir.h"
#include "support/wait_until.h"

namespace test {
namespace {

// Sends each line back in reverse.
class OpenSslServer {
 public:
  explicit OpenSslServer(const std::string& version) {
    const std::string pem = folder_.Write("server.pem", MakeIdentity({}).Pem());
    constexpr int kAttempts = 5;  // the port may be taken in between
    for (int i = 0; i < kAttempts && transport_ == nullptr; ++i) Start(version, pem);
  }
  ~OpenSslServer() { Stop(); }
  OpenSslServer(const OpenSslServer&) = delete;
  OpenSslServer& operator=(const OpenSslServer&) = delete;

  // A connection to it; null when it did not start.
  Transport* transport() { return transport_.get(); }

 private:
  void Start(const std::string& version, const std::string& pem) {
    const std::uint16_t port = FreePort();
    std::vector<std::string> words = {
        "openssl", "s_server", "-accept", "127.0.0.1:" + std::to_string(port),
        "-cert",   pem,        "-key",    pem,
        "-rev",    "-quiet",   version};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    }
    const int error = posix_spawnp(&pid_, "openssl", &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return;
    WaitUntil([&] { return Connect(port) || HasEnded(); });
    if (transport_ == nullptr) Stop();
  }

  bool HasEnded() {
    if (waitpid(pid_, nullptr, WNOHANG) == 0) return false;
    pid_ = -1;
    return true;
  }

  bool Connect(std::uint16_t port) {
    try {
      transport_ = std::make_unique<SocketTransport>(port);
    } catch (const std::system_error&) {
      return false;
    }
    return true;
  }

  void Stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

  const TempDir folder_;
  pid_t pid_ = -1;
  std::unique_ptr<SocketTransport> transport_;
};

TEST(OpenSslCommand, IsUnderstood) {
  const struct {
    const char* version;
    DWORD protocols;
    SECURITY_STATUS status;
    DWORD protocol;
  } kCases[] = {
      {"-tls1_2", 0, SEC_E_OK, SP_PROT_TLS1_2_CLIENT},
      {"-tls1_3", 0, SEC_E_OK, SP_PROT_TLS1_3_CLIENT},
      {"-tls1_3", SP_PROT_TLS1_2_CLIENT, SEC_E_UNSUPPORTED_FUNCTION, 0},
  };
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.version);
    OpenSslServer server(each.version);
    ASSERT_NE(server.transport(), nullptr);
    ClientOptions options;
    options.protocols = each.protocols;
    TlsClient client(*server.transport(), options);
    ASSERT_EQ(client.Connect(), each.status);
    EXPECT_EQ(client.ConnectionInfo().dwProtocol, each.protocol);
    if (each.status != SEC_E_OK) continue;
    ASSERT_TRUE(client.Send("desserts\n"));
    EXPECT_EQ(client.ReceiveAll(9), "stressed\n");
    EXPECT_EQ(client.Close(), SEC_E_OK);
  }
}

}  // namespace
}  // namespace test
