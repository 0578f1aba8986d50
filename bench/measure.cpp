#include "measure.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>

namespace bench {
namespace {

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

double Middle(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

Cost Measure(const std::function<void()>& work) {
  const double cpu = CpuSeconds();
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  return {wall.count(), CpuSeconds() - cpu};
}

Cost Median(std::vector<Cost> costs) {
  std::vector<double> wall;
  std::vector<double> cpu;
  for (const Cost& cost : costs) {
    wall.push_back(cost.wall);
    cpu.push_back(cost.cpu);
  }
  return {Middle(wall), Middle(cpu)};
}

long ResidentKib() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace bench
