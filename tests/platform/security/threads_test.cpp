#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/security/tls_client.h"
#include "support/messages.h"

namespace test {
namespace {

// What is wrong with the chain of the server's certificate.
DWORD ChainFindings(TlsClient& client) {
  PCCERT_CONTEXT context = nullptr;
  Provider()->QueryContextAttributesA(client.context(), SECPKG_ATTR_REMOTE_CERT_CONTEXT, &context);
  const OwnedContext owner(context);
  CERT_CHAIN_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  PCCERT_CHAIN_CONTEXT chain = nullptr;
  if (context == nullptr ||
      !Certificates().get_chain(HCCE_CURRENT_USER, context, nullptr, context->hCertStore,
                                &parameters, 0, nullptr, &chain)) {
    return CERT_TRUST_IS_PARTIAL_CHAIN;
  }
  return OwnedChain(chain)->TrustStatus.dwErrorStatus;
}

TEST(TlsThreads, ManySessionsAtOnceFromSeveralThreads) {
  constexpr std::size_t kThreads = 10;
  constexpr std::size_t kSessionsPerThread = 10;
  constexpr std::size_t kSize = 20000;
  TlsServerOptions options;
  options.identity = MakeIdentity({});
  TlsServer server(options, [](TlsConnection& connection) {
    while (const auto bytes = connection.ReadBytes(kSize)) {
      if (!connection.Send(*bytes)) return;
    }
  });
  const std::string data = Pattern(kSize);
  std::atomic<std::size_t> good = 0;
  const auto work = [&] {
    std::vector<std::unique_ptr<SocketTransport>> transports;
    std::vector<std::unique_ptr<TlsClient>> clients;
    for (std::size_t i = 0; i < kSessionsPerThread; ++i) {
      transports.push_back(std::make_unique<SocketTransport>(server.port()));
      clients.push_back(std::make_unique<TlsClient>(*transports.back()));
      if (clients.back()->Connect() != SEC_E_OK) return;
      if (ChainFindings(*clients.back()) != CERT_TRUST_IS_UNTRUSTED_ROOT) return;
    }
    // All sessions of the thread are open now.
    for (const auto& client : clients) {
      client->Send(std::string_view(data).substr(0, 16384));
      client->Send(std::string_view(data).substr(16384));
    }
    for (const auto& client : clients) {
      if (client->ReceiveAll(kSize) == data && client->Close() == SEC_E_OK) ++good;
    }
  };
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kSessionsPerThread);
}

}  // namespace
}  // namespace test
