// The library started for the time of one test, and sessions that end with the test.
#ifndef SUPPORT_LIBRARY_SESSION_FIXTURE_H_
#define SUPPORT_LIBRARY_SESSION_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvhttp12.h"

namespace test {

// What a retrieval returned: the result code (or HTTP_ERROR), and the body.
struct Fetched {
  int result;
  std::string body;
};

class SessionTest : public ::testing::Test {
 public:
  static DWORD LastError() { return HttpGetLastError(); }

  // Fetches a resource into a memory block.
  static Fetched Get(HCLIENT client, const char* resource, DWORD options = 0) {
    HGLOBAL block = nullptr;
    DWORD length = 0;
    const INT result = HttpGetDataA(client, resource, static_cast<void*>(&block), &length, options);
    Fetched fetched{result, {}};
    if (block != nullptr) {
      fetched.body.assign(static_cast<const char*>(GlobalLock(block)), length);
      GlobalUnlock(block);
      GlobalFree(block);
    }
    return fetched;
  }

  // Sends a command without parameters (or with them) and closes the request.
  static int Command(HCLIENT client, const char* method, const char* resource,
                     const std::string& parameters = {}) {
    const INT result =
        HttpCommandA(client, method, resource, parameters.empty() ? nullptr : parameters.data(),
                     static_cast<DWORD>(parameters.size()), 0);
    const DWORD error = HttpGetLastError();
    HttpCloseFile(client);
    HttpSetLastError(error);
    return result;
  }

  // A session with a server on 127.0.0.1, closed at the end of the test unless it has gone before.
  HCLIENT Connect(unsigned port, DWORD options = 0, DWORD version = 0, UINT timeout = 5) {
    const HCLIENT client = HttpConnectA("127.0.0.1", port, timeout, options, version, nullptr);
    EXPECT_NE(client, INVALID_CLIENT) << "connecting failed with " << std::hex << LastError();
    if (client != INVALID_CLIENT) clients_.push_back(client);
    return client;
  }

 protected:
  void SetUp() override {
    ASSERT_TRUE(HttpInitializeA(nullptr, 0)) << std::hex << LastError();
    HttpSetLastError(0);
  }

  void TearDown() override {
    for (const HCLIENT client : clients_) HttpDisconnect(client);
    HttpUninitialize();
    HttpSetLastError(0);
  }

 private:
  std::vector<HCLIENT> clients_;
};

}  // namespace test

#endif  // SUPPORT_LIBRARY_SESSION_FIXTURE_H_
