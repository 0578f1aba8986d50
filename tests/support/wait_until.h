// Waiting for a condition that another process brings about.
#ifndef SUPPORT_WAIT_UNTIL_H_
#define SUPPORT_WAIT_UNTIL_H_

#include <chrono>
#include <thread>

namespace test {

// How long a test waits for something that is bound to happen before it gives up.
inline constexpr std::chrono::milliseconds kPatience{20000};

// Looks at a condition again and again until it holds (true) or the time is over (false).
template <typename Condition>
bool WaitUntil(Condition condition, std::chrono::milliseconds timeout = kPatience) {
  constexpr std::chrono::milliseconds kInterval{2};
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) return condition();
    std::this_thread::sleep_for(kInterval);
  }
  return true;
}

}  // namespace test

#endif  // SUPPORT_WAIT_UNTIL_H_
