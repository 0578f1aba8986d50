// A server of another make: the one of the openssl command.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/security/tls_client.h"
#include "support/server_process.h"
#include "support/temp_dir.h"

namespace test {
namespace {

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
  const TempDir folder;
  const std::string pem = folder.Write("server.pem", MakeIdentity({}).Pem());
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.version);
    // Sends each line back in reverse.
    const ServerProcess server([&](std::uint16_t port) {
      return std::vector<std::string>{
          "openssl", "s_server", "-accept",   "127.0.0.1:" + std::to_string(port),
          "-cert",   pem,        "-key",      pem,
          "-rev",    "-quiet",   each.version};
    });
    SocketTransport transport(server.port());
    ClientOptions options;
    options.protocols = each.protocols;
    TlsClient client(transport, options);
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
