// What the tests of the transport share: a started socket interface, processes in which functions
// of the platform are missing or replaced, and a listener to connect to.
#ifndef TESTS_TRANSPORT_BINDING_FIXTURE_H_
#define TESTS_TRANSPORT_BINDING_FIXTURE_H_

#include <arpa/inet.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/module.h"
#include "transport/address.h"
#include "transport/socket_binding.h"

namespace qv {

// Starts the socket interface around each test.
class StartedSocketsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(StartSockets(), 0u); }
  void TearDown() override { EXPECT_EQ(StopSockets(), 0); }
};

// Runs a part of a test in a process of its own, in which nothing is bound yet: binding happens
// once per process, so what is hidden or replaced has to be so before. Failures inside fail the
// test.
inline void InFreshProcess(const std::function<void()>& body) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [&body] {
    ::testing::TestPartResultArray results;
    {
      using Reporter = ::testing::ScopedFakeTestPartResultReporter;
      const Reporter reporter(Reporter::INTERCEPT_ALL_THREADS, &results);
      body();
    }
    bool failed = false;
    for (int i = 0; i < results.size(); ++i) {
      const ::testing::TestPartResult& result = results.GetTestPartResult(i);
      if (!result.failed()) continue;
      failed = true;
      std::cerr << result << '\n';
    }
    std::exit(failed ? EXIT_FAILURE : EXIT_SUCCESS);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(EXIT_SUCCESS), "");
}

// Puts a module with other functions of some names in the place of a module, before it is bound.
inline void ReplaceFunctions(const char* name,
                             std::initializer_list<platform::ModuleExport> functions) {
  const auto* const original = static_cast<const platform::Module*>(::LoadLibraryA(name));
  ASSERT_NE(original, nullptr);
  struct Replacement {
    std::vector<platform::ModuleExport> exports;
    platform::Module module;
  };
  // Records of modules live as long as the process.
  static auto& replacements = *new std::vector<std::unique_ptr<Replacement>>;
  Replacement& replacement = *replacements.emplace_back(std::make_unique<Replacement>());
  replacement.exports.assign(original->exports, original->exports + original->export_count);
  for (const platform::ModuleExport& function : functions) {
    for (platform::ModuleExport& entry : replacement.exports) {
      if (std::string_view(entry.name) == function.name) entry.address = function.address;
    }
  }
  replacement.module = *original;
  replacement.module.exports = replacement.exports.data();
  platform::DetachModule(*original);
  platform::AttachModule(replacement.module);
}

// A TCP port of the loopback address; connects to it are refused until it listens.
class LoopbackPort {
 public:
  LoopbackPort() : descriptor_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    EXPECT_EQ(::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), length), 0);
    EXPECT_EQ(::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &length), 0);
    port_ = ntohs(address.sin_port);
  }
  ~LoopbackPort() {
    if (peer_ >= 0) ::close(peer_);
    ::close(descriptor_);
  }
  LoopbackPort(const LoopbackPort&) = delete;
  LoopbackPort& operator=(const LoopbackPort&) = delete;

  void Listen() { EXPECT_EQ(::listen(descriptor_, 1), 0); }

  // The server's end of the connection, closed with this object.
  int Accept() { return peer_ = ::accept(descriptor_, nullptr, nullptr); }
  void ClosePeer() {
    ::close(peer_);
    peer_ = -1;
  }

  SocketAddress address() const {
    InternetAddress loopback;
    loopback.family = ws2::kFamilyInet;
    const BYTE bytes[kIpv4AddressBytes] = {127, 0, 0, 1};
    std::memcpy(loopback.bytes, bytes, sizeof(bytes));
    return *BuildSocketAddress(loopback, port_);
  }

 private:
  int descriptor_;
  int peer_ = -1;
  UINT port_ = 0;
};

}  // namespace qv

#endif  // TESTS_TRANSPORT_BINDING_FIXTURE_H_
