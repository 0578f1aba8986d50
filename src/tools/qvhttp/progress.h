#ifndef TOOLS_QVHTTP_PROGRESS_H_
#define TOOLS_QVHTTP_PROGRESS_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

// "[=====>    ]  42%  12.6 MiB of 30.0 MiB  3.1 MiB/s  0:06 left", of a transfer that has gone on
// for some seconds from the bytes that were `present` before.
std::string ProgressLine(std::uint64_t present, std::uint64_t done,
                         std::optional<std::uint64_t> total, double seconds);

// The line on a terminal that tells how far a transfer has come. Where standard error is no
// terminal, it does nothing.
class Progress {
 public:
  // Without `enabled` nothing is shown.
  explicit Progress(bool enabled);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // A transfer begins, with bytes that were there before it. The line begins with its name, if it
  // has one.
  void Start(std::uint64_t present, const std::string& name = "");

  // Bytes there are now, of how many, where that is known.
  void Update(std::uint64_t done, std::optional<std::uint64_t> total);

  // Shows the last state, and leaves its line.
  void Finish();

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();

  bool enabled_;
  std::string name_;
  bool drawn_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_drawn_;
  std::uint64_t present_ = 0;
  std::uint64_t done_ = 0;
  std::optional<std::uint64_t> total_;
};

#endif  // TOOLS_QVHTTP_PROGRESS_H_
