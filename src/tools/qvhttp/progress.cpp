#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <utility>

namespace {

constexpr auto kDrawInterval = std::chrono::milliseconds(100);
constexpr std::size_t kBarWidth = 24;
constexpr const char* kToLineStart = "\r";
constexpr const char* kEraseToLineEnd = "\x1b[K";  // ECMA-48, erase in line

constexpr double kUnitStep = 1024;
constexpr std::array<const char*, 5> kUnits = {"B", "KiB", "MiB", "GiB", "TiB"};

constexpr std::uint64_t kSecondsPerMinute = 60;
constexpr std::uint64_t kSecondsPerHour = 3600;
constexpr std::uint64_t kLongestTimeLeft = 100 * kSecondsPerHour;

// "512 B", "1.5 MiB".
std::string Size(double bytes) {
  std::size_t unit = 0;
  for (; bytes >= kUnitStep && unit + 1 < kUnits.size(); ++unit) bytes /= kUnitStep;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
  return text.data();
}

// "0:07", "1:02:03".
std::string Duration(std::uint64_t seconds) {
  std::array<char, 32> text{};
  const auto hours = static_cast<unsigned int>(seconds / kSecondsPerHour);
  const auto minutes = static_cast<unsigned int>(seconds % kSecondsPerHour / kSecondsPerMinute);
  const auto rest = static_cast<unsigned int>(seconds % kSecondsPerMinute);
  if (hours > 0) {
    std::snprintf(text.data(), text.size(), "%u:%02u:%02u", hours, minutes, rest);
  } else {
    std::snprintf(text.data(), text.size(), "%u:%02u", minutes, rest);
  }
  return text.data();
}

// "[======>       ]  42%  "
std::string Bar(double share) {
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(kBarWidth));
  std::string bar(kBarWidth, ' ');
  std::fill_n(bar.begin(), filled, '=');
  if (filled < kBarWidth) bar[filled] = '>';
  std::array<char, 16> percent{};
  std::snprintf(percent.data(), percent.size(), "%3d%%", static_cast<int>(share * 100));
  return "[" + bar + "] " + percent.data() + "  ";
}

}  // namespace

Progress::Progress(bool enabled) : enabled_(enabled && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() { Finish(); }

void Progress::Start(std::uint64_t present) {
  Finish();
  start_ = Clock::now();
  present_ = done_ = present;
  total_.reset();
}

void Progress::Update(std::uint64_t done, std::optional<std::uint64_t> total) {
  done_ = done;
  total_ = total;
  if (!enabled_) return;
  if (drawn_ && Clock::now() - last_drawn_ < kDrawInterval) return;
  Draw();
}

void Progress::Finish() {
  if (!std::exchange(drawn_, false)) return;
  Draw();
  drawn_ = false;
  std::cerr << std::endl;
}

void Progress::Draw() {
  drawn_ = true;
  last_drawn_ = Clock::now();
  const std::chrono::duration<double> elapsed = last_drawn_ - start_;
  std::cerr << kToLineStart << Line(elapsed.count()) << kEraseToLineEnd << std::flush;
}

std::string Progress::Line(double seconds) const {
  constexpr double kShortestMeasure = 0.001;  // seconds
  const double rate =
      static_cast<double>(done_ - std::min(present_, done_)) / std::max(seconds, kShortestMeasure);
  const bool is_known = total_ && *total_ >= done_ && *total_ > 0;
  std::string line;
  if (is_known) line += Bar(static_cast<double>(done_) / static_cast<double>(*total_));
  line += Size(static_cast<double>(done_));
  if (is_known) line += " of " + Size(static_cast<double>(*total_));
  line += "  " + Size(rate) + "/s";
  if (is_known && rate > 0 && *total_ > done_) {
    const double left = static_cast<double>(*total_ - done_) / rate;
    if (left < static_cast<double>(kLongestTimeLeft)) {
      line += "  " + Duration(static_cast<std::uint64_t>(left) + 1) + " left";
    }
  }
  return line;
}
