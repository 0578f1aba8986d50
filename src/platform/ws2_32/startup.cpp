// Starting and stopping the socket interface: a matter of counting here.
#include <atomic>
#include <cstring>

#include "ws2_32/errors.h"
#include "ws2_32/functions.h"

namespace platform::ws2_32 {
namespace {

// The major version is the low byte.
constexpr WORD kOldestVersion = 0x0001;
constexpr WORD kNewestVersion = 0x0202;
std::atomic<int> starts{0};

constexpr unsigned ComparableVersion(WORD version) {
  constexpr unsigned kByteMask = 0xFF;
  constexpr unsigned kByteBits = 8;
  return (version & kByteMask) << kByteBits | version >> kByteBits;
}

}  // namespace

int Startup(WORD version, WsaData* data) noexcept {
  if (data == nullptr) return ::ws2::kErrorFault;
  const unsigned asked = ComparableVersion(version);
  if (asked < ComparableVersion(kOldestVersion)) return ::ws2::kErrorVersionNotSupported;
  *data = {};
  data->version = asked < ComparableVersion(kNewestVersion) ? version : kNewestVersion;
  data->high_version = kNewestVersion;
  std::strncpy(data->description, "Sockets", sizeof(data->description) - 1);
  std::strncpy(data->system_status, "Running", sizeof(data->system_status) - 1);
  ++starts;
  return 0;
}

int Cleanup() noexcept {
  int current = starts.load();
  while (current > 0) {
    if (starts.compare_exchange_weak(current, current - 1)) return 0;
  }
  return FailWith(::ws2::kErrorNotInitialised);
}

}  // namespace platform::ws2_32
