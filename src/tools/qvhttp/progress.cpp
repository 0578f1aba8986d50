#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <utility>

#include "text.h"

namespace {

constexpr auto kDrawInterval = std::chrono::milliseconds(100);
constexpr std::size_t kBarWidth = 24;
constexpr const char* kToLineStart = "\r";
constexpr const char* kEraseToLineEnd = "\x1b[K";  // ECMA-48, erase in line

constexpr std::uint64_t kLongestTimeLeft = std::uint64_t{100} * 3600;  // seconds

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

void Progress::Start(std::uint64_t present, const std::string& name) {
  Finish();
  name_ = name.empty() ? "" : name + "  ";
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
  std::cerr << kToLineStart << name_ << ProgressLine(present_, done_, total_, elapsed.count())
            << kEraseToLineEnd << std::flush;
}

std::string ProgressLine(std::uint64_t present, std::uint64_t done,
                         std::optional<std::uint64_t> total, double seconds) {
  constexpr double kShortestMeasure = 0.001;
  const double rate =
      static_cast<double>(done - std::min(present, done)) / std::max(seconds, kShortestMeasure);
  const bool is_known = total && *total >= done && *total > 0;
  std::string line;
  if (is_known) line += Bar(static_cast<double>(done) / static_cast<double>(*total));
  line += SizeText(static_cast<double>(done));
  if (is_known) line += " of " + SizeText(static_cast<double>(*total));
  line += "  " + SizeText(rate) + "/s";
  if (is_known && rate > 0 && *total > done) {
    const double left = static_cast<double>(*total - done) / rate;
    if (left < static_cast<double>(kLongestTimeLeft)) {
      line += "  " + DurationText(static_cast<std::uint64_t>(left) + 1) + " left";
    }
  }
  return line;
}
