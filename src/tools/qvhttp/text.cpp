#include "text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr double kUnitStep = 1024;
constexpr std::array<const char*, 5> kUnits = {"B", "KiB", "MiB", "GiB", "TiB"};

constexpr std::uint64_t kSecondsPerMinute = 60;
constexpr std::uint64_t kSecondsPerHour = 3600;

}  // namespace

std::string PrintableText(std::string text) {
  constexpr char kDelete = 0x7F;
  const auto is_control = [](char c) { return (c >= 0 && c < ' ') || c == kDelete; };
  std::replace_if(text.begin(), text.end(), is_control, '?');
  return text;
}

std::string SizeText(double bytes) {
  std::size_t unit = 0;
  for (; bytes >= kUnitStep && unit + 1 < kUnits.size(); ++unit) bytes /= kUnitStep;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
  return text.data();
}

std::string DurationText(std::uint64_t seconds) {
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
