#include "measure.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {
namespace {

double Now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double Middle(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

Cost Measure(const std::function<void()>& work) {
  const double cpu = Now(CLOCK_PROCESS_CPUTIME_ID);
  const double wall = Now(CLOCK_MONOTONIC);
  work();
  return {Now(CLOCK_MONOTONIC) - wall, Now(CLOCK_PROCESS_CPUTIME_ID) - cpu};
}

Cost Median(const std::vector<Cost>& costs) {
  std::vector<double> wall;
  std::vector<double> cpu;
  for (const Cost& cost : costs) {
    wall.push_back(cost.wall);
    cpu.push_back(cost.cpu);
  }
  return {Middle(wall), Middle(cpu)};
}

long ResidentKib() {
  // /proc/self/statm lags behind by pages counted per processor.
  std::ifstream summary("/proc/self/smaps_rollup");
  for (std::string word; summary >> word;) {
    long size = 0;
    if (word == "Rss:" && summary >> size) return size;
  }
  throw std::runtime_error("no memory summary in /proc");
}

}  // namespace bench
